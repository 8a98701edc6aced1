// SPDX-License-Identifier: MIT
#pragma once

#include "standins/notifications/boundedwait.h"
#include "standins/notifications/catalogue.h"
#include "standins/notifications/inbox.h"
#include "standins/notifications/outbox.h"
#include "standins/notifications/serverconnection.h"

#include <optional>

/// All notifications that this process has published and that may still be shown. Lives on the thread that uses it
/// first, until the application object goes away.
///
/// Everything arrives through the inbox and is handled in its order, by `publish()` while that waits for its answer and
/// else by the event loop. Signals of `Notification` objects come from the event loop only: no caller of `publish()`
/// expects that its slots run before that returns.
class Publisher : public QObject
{
    Q_OBJECT

public:
    /// Created on first use; null once the application object is gone.
    static Publisher *instance();

    bool use(const QDBusConnection &connection);
    void publish(Notification *notification);
    void close(Notification *notification);
    /// New objects for all notifications of this process, and for those that an earlier one left on a server that
    /// tells. The caller owns them.
    QList<QObject *> list();
    /// `notification` is about to be destroyed, or to become another one.
    static void forget(Notification *notification);

protected:
    void customEvent(QEvent *event) override;

private:
    Publisher() = default;
    PublicationPtr claim(NotificationPrivate &notification);
    void act(const PublicationPtr &publication, Publication::Order order);
    void sendWaiting();
    void giveUp(const PublicationPtr &publication, const char *reason, const QString &error = {});
    template <typename Condition> void waitUntil(Condition condition);
    void handle(const Inbox::Item &item);
    void onFound();
    void onMissing();
    void onLost(const QString &server);
    void onListed(const NotificationKeys &listed);
    void onAnswer(quint64 call, const QDBusMessage &answer);
    void onSignal(const QDBusMessage &signal);
    /// The object is told of an action, or without one that the notification is closed.
    void tell(const PublicationPtr &publication, const std::optional<QString> &action = {});
    void closeAll();

    inline static Publisher *s_instance = nullptr;
    inline static bool s_over = false; ///< the application object is gone

    Inbox m_inbox{this};
    ServerConnection m_server{&m_inbox};
    BoundedWait m_wait;
    Catalogue m_catalogue;
    Outbox m_outbox{&m_inbox};
    QList<uint> *m_leftovers = nullptr; ///< where a caller takes the identifiers that nobody knows
};
