// SPDX-License-Identifier: MIT
#pragma once

#include "standins/protocol/desktopnotification.h"

#include <QtCore/QHash>
#include <QtCore/QObject>

struct DBusConnection;
struct DBusMessage;

/// Sees what one connection to the session bus has any notification server show, as a monitor of the bus. Needs no help
/// of the server. Over libdbus, as Qt can neither see messages to others nor keep from answering them.
class BusMonitor : public QObject
{
    Q_OBJECT

public:
    explicit BusMonitor(QDBusConnection client, QObject *parent = nullptr);
    ~BusMonitor() override;

    /// Begins to watch. What is in the way; empty when nothing is.
    QString start();
    /// Returns once all that `client` has sent and received until now was seen; false if that takes too long.
    bool settle();

Q_SIGNALS:
    void shown(const DesktopNotification &notification, bool replaced);
    void closed(uint id, uint reason);

private:
    bool read(int timeoutMs);
    void take(DBusMessage *message);

    QDBusConnection m_client;
    DBusConnection *m_connection = nullptr;
    QHash<quint32, DesktopNotification> m_asked; ///< calls of `Notify` without an answer yet, by serial number
    int m_marks = 0;                             ///< sent, and not yet seen
};
