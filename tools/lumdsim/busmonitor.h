// SPDX-License-Identifier: MIT
#pragma once

#include "standins/protocol/desktopnotification.h"

#include <QtDBus/QDBusVirtualObject>

/// Sees what a program asks any notification server on the session bus to show, as a monitor of the bus; the server has
/// no part in it. Monitors may not speak, so this takes all calls without answering.
class BusMonitor : public QDBusVirtualObject
{
    Q_OBJECT

public:
    BusMonitor();
    ~BusMonitor() override;

    /// Begins to watch what `client` sends. False when the bus does not allow it.
    bool start(const QDBusConnection &client);
    /// Returns once all that `client` has sent until now was seen; false if that takes too long.
    bool settle();

    QString introspect(const QString & /*path*/) const override { return {}; }
    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override;

Q_SIGNALS:
    /// The arguments of `Notify`; the identifier is that of what is to be replaced.
    void notified(const DesktopNotification &notification);

private:
    QDBusConnection m_client;
    bool m_marked = false; ///< what settle() sends was seen
};
