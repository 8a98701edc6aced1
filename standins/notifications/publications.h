// SPDX-License-Identifier: MIT
#pragma once

#include "standins/notifications/identifiers.h"
#include "standins/notifications/notificationconnection.h"

#include <QtCore/QList>

#include <functional>

/// All that this process has published and that may still be shown. Lives on the thread that uses it first, until the
/// application object goes away.
class Publications : public QObject
{
    Q_OBJECT

public:
    /// Created on first use.
    static Publications &instance();
    /// Null while there are none.
    static Publications *existing() { return theOnes; }

    bool use(const QDBusConnection &connection);
    void publish(Notification *notification);
    void close(Notification *notification);
    /// New objects for what the server holds for this program; of a server that does not tell, for what this process
    /// has published. The caller owns them.
    QList<Notification *> held();
    /// `notification` is about to be destroyed.
    void forget(Notification *notification);

private:
    using State = Publication::State;
    using Order = Publication::Order;

    Publications();
    void send(const PublicationPtr &publication, bool mayWait);
    void giveUp(const PublicationPtr &publication, const char *reason);
    void take(const PublicationPtr &publication, int sending, const QDBusPendingCall &answer);
    void report(const PublicationPtr &publication, const std::function<Order(Publication &)> &event);
    static void tellClosed(const PublicationPtr &publication);
    void onSignal(const QDBusMessage &signal);
    void onKnown(const NotificationKeys &held, bool unseen);
    void onMissing();
    void onLost();

    inline static Publications *theOnes = nullptr;
    NotificationConnection m_connection;
    Identifiers m_identifiers;
};
