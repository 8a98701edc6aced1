// SPDX-License-Identifier: MIT
#pragma once

#include "tools/lumdsim/output.h"

#include <QtDBus/QDBusAbstractAdaptor>
#include <QtDBus/QDBusMessage>

/// The host daemon's D-Bus interface, whose methods the notification server calls for the user. Servers may
/// add arguments, which only slots that take the message as it is allow; adaptors made from XML have no such
/// slots.
class HostObject : public QDBusAbstractAdaptor
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.velmo.lumd")

public:
    HostObject(QObject *parent, Output *output)
        : QDBusAbstractAdaptor(parent)
        , m_output(output)
    {
    }

public Q_SLOTS: // NOLINT(readability-redundant-access-specifiers): moc needs it
    void notificationActionInvoke(const QDBusMessage &call) { report(call); }
    void notificationActionInvokeInput(const QDBusMessage &call) { report(call); }

private:
    void report(const QDBusMessage &call)
    {
        m_output->invoked(call.member(), QVariant(call.arguments()).toStringList());
    }

    Output *m_output;
};
