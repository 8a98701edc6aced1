// SPDX-License-Identifier: MIT
#pragma once

#include <QtCore/QDeadlineTimer>
#include <QtCore/QThread>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusMessage>

#include <condition_variable>
#include <deque>
#include <mutex>
#include <vector>

class Receiver;

/// Everything that arrives over D-Bus, in the order in which it arrives: signals, answers and errors.
///
/// Qt's D-Bus thread posts each message to the object that receives it, one after the other. All receivers live on one
/// thread, so their slots run in that order, and all that they do is to append to one list. A receiver is registered
/// before its call is sent; a watcher of `asyncCall()` would come too late, since the answer may be there already. A
/// receiver serves one call at a time, and is never destroyed: Qt may hold a pointer to it until the answer comes.
class Inbox
{
public:
    struct Item {
        quint64 call = 0; ///< the number of the call that is answered; 0 for a signal
        QDBusMessage message;
        Receiver *receiver = nullptr;
    };

    /// `reader` gets a `QEvent::User` when something has arrived.
    explicit Inbox(QObject *reader);
    ~Inbox();
    Inbox(const Inbox &) = delete;
    Inbox &operator=(const Inbox &) = delete;

    using Change = bool (QDBusConnection::*)(const QString &, const QString &, const QString &, const QString &,
                                             const QStringList &, const QString &, QObject *, const char *);
    /// Connects to signals, or disconnects from them. They name no sender: Qt would ask the bus
    /// daemon for its unique name, and wait for the answer without a bound.
    void listen(Change change, QDBusConnection &connection, const QString &path, const QString &interface,
                const QString &signal, const QStringList &arguments);
    /// Sends a call; returns its number. Numbers grow. An answer that takes longer than `timeoutMs` is replaced by an
    /// error.
    quint64 send(const QDBusConnection &connection, const QDBusMessage &call, int timeoutMs);
    void append(const Item &item);
    /// The next item, if there is one.
    bool next(Item *item);
    /// The next item; waits for it until `deadline`. Runs no event loop, so nothing else happens on this thread.
    bool await(Item *item, const QDeadlineTimer &deadline);
    /// Drops all that has arrived, and the answers to all calls until now.
    void clear();

private:
    bool take(Item *item);

    QObject *const m_reader;
    QThread m_thread;
    Receiver *const m_signals;
    std::vector<Receiver *> m_idle; ///< wait for no answer
    quint64 m_lastCall = 0;
    quint64 m_lastDropped = 0; ///< answers to this call and those before it are dropped
    std::mutex m_mutex;        ///< guards the members below
    std::condition_variable m_arrived;
    std::deque<Item> m_items;
    bool m_posted = false; ///< the reader's event is under way
};
