// SPDX-License-Identifier: MIT
#pragma once

#include "standins/notifications/boundedwait.h"
#include "standins/notifications/inbox.h"
#include "standins/notifications/publication.h"
#include "standins/notifications/serverconnection.h"

#include <QtCore/QHash>

#include <deque>
#include <map>
#include <optional>

/// All notifications that this process has published and that may still be shown. Lives on the thread that uses it
/// first, until the application object goes away.
///
/// Everything arrives through the inbox and is handled in its order, by `publish()` while that waits for its answer and
/// else by the event loop. Signals of `Notification` objects come from the event loop only: no caller of `publish()`
/// expects that its slots run before that returns.
///
/// The number of calls under way is limited, for the sake of the server and the bus. Other publications wait in their
/// records, and each answer makes room for the next, so no notification is given up because there are many.
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
    struct Earlier {
        bool operator()(const PublicationPtr &one, const PublicationPtr &other) const
        {
            return one->number() < other->number();
        }
    };

    Publisher();
    PublicationPtr claim(Notification *notification);
    PublicationPtr find(uint id, const QVariant &key) const;
    void act(const PublicationPtr &publication, Publication::Order order);
    void file(const PublicationPtr &publication);
    void giveUp(const PublicationPtr &publication, const char *reason, const QString &error = {});
    /// The object is told of an action, or without one that the notification is closed.
    void tell(const PublicationPtr &publication, const std::optional<QString> &action = {});
    template <typename Condition> void waitUntil(Condition reached);
    void closeAll();

    void handle(const Inbox::Item &item);
    void onFound();
    void onMissing(const QString &error);
    void onLost(const QString &server);
    void onListed(const NotificationKeys &listed);
    void onAnswer(quint64 call, const QDBusMessage &answer);
    void onSignal(const QDBusMessage &signal);
    void watchCalls();
    void refuseOvertaken();
    void sendWaiting();

    inline static Publisher *s_instance = nullptr;
    inline static bool s_over = false; ///< the application object is gone

    Inbox m_inbox{this};
    ServerConnection m_server{&m_inbox};
    BoundedWait m_wait;
    std::map<PublicationPtr, uint, Earlier> m_all; ///< each with the identifier under which it is filed, 0 for none
    QHash<uint, PublicationPtr> m_identified;
    std::deque<PublicationPtr> m_waiting;      ///< to be sent; some are not ready any more, or are listed twice
    std::map<quint64, PublicationPtr> m_calls; ///< under way, by number
    quint64 m_lastAnswered = 0;                ///< the highest number of a call that was answered
    QTimer m_patience;                         ///< runs while some calls are overtaken
    quint64 m_overtaken = 0;                   ///< `m_lastAnswered` when it was started
    bool m_listing = false;                    ///< a caller takes what the server lists
};
