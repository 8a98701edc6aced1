// SPDX-License-Identifier: MIT
#include "standins/notifications/inbox.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QEvent>
#include <QtDBus/QDBusError>

#include <atomic>
#include <chrono>
#include <utility>

/// Receives the answer to one call at a time, or signals.
class Receiver : public QObject
{
    Q_OBJECT

public:
    explicit Receiver(Inbox *inbox)
        : m_inbox(inbox)
    {
    }
    /// Before the call is sent.
    void expect(quint64 call) { m_call = call; }

public Q_SLOTS:
    void onSignal(const QDBusMessage &signal) { m_inbox->append({0, signal}); }
    void onAnswer(const QDBusMessage &answer) { m_inbox->append({m_call, answer, this}); }
    void onError(const QDBusError &error) { onAnswer(QDBusMessage::createError(error)); }

private:
    Inbox *const m_inbox;
    std::atomic<quint64> m_call = 0;
};

namespace
{

Receiver *makeReceiver(Inbox *inbox, QThread *thread)
{
    static auto *const all = new std::vector<Receiver *>; // for leak checkers
    all->push_back(new Receiver(inbox));
    all->back()->moveToThread(thread);
    return all->back();
}

} // namespace

Inbox::Inbox(QObject *reader)
    : m_reader(reader)
    , m_signals(makeReceiver(this, &m_thread))
{
    // Debuggers show this name.
    m_thread.setObjectName(QStringLiteral("notifications"));
    if (QCoreApplication::instance() && QCoreApplication::instance()->thread() == QThread::currentThread()) {
        // Our test tools find the thread here. It is no child of the application object: a static one deletes its
        // children without calling the post routines, and to delete a running thread ends the process.
        QCoreApplication::instance()->setProperty("vorn.notifications.thread", QVariant::fromValue(&m_thread));
    }
    m_thread.start();
}

Inbox::~Inbox()
{
    m_thread.quit();
    m_thread.wait();
}

void Inbox::listen(Change change, QDBusConnection &connection, const QString &path, const QString &interface,
                   const QString &signal, const QStringList &arguments)
{
    (connection.*change)(QString(), path, interface, signal, arguments, QString(), m_signals,
                         SLOT(onSignal(QDBusMessage)));
}

quint64 Inbox::send(const QDBusConnection &connection, const QDBusMessage &call, int timeoutMs)
{
    if (m_idle.empty()) {
        m_idle.push_back(makeReceiver(this, &m_thread));
    }
    Receiver *const receiver = m_idle.back();
    m_idle.pop_back();
    receiver->expect(++m_lastCall);
    if (!connection.callWithCallback(call, receiver, SLOT(onAnswer(QDBusMessage)), SLOT(onError(QDBusError)),
                                     timeoutMs)) {
        append({m_lastCall, QDBusMessage::createError(connection.lastError()), receiver});
    }
    return m_lastCall;
}

void Inbox::append(const Item &item)
{
    const std::lock_guard lock(m_mutex);
    m_items.push_back(item);
    m_arrived.notify_one();
    if (!std::exchange(m_posted, true)) {
        QCoreApplication::postEvent(m_reader, new QEvent(QEvent::User));
    }
}

bool Inbox::next(Item *item)
{
    const std::lock_guard lock(m_mutex);
    m_posted = take(item);
    return m_posted;
}

bool Inbox::await(Item *item, const QDeadlineTimer &deadline)
{
    std::unique_lock lock(m_mutex);
    m_arrived.wait_for(lock, std::chrono::nanoseconds(deadline.remainingTimeNSecs()),
                       [this] { return !m_items.empty(); });
    return take(item);
}

/// Takes out the first item that counts. Its receiver is free for another call.
bool Inbox::take(Item *item)
{
    while (!m_items.empty()) {
        *item = std::move(m_items.front());
        m_items.pop_front();
        if (item->receiver) {
            m_idle.push_back(item->receiver);
        }
        if (item->call == 0 || item->call > m_lastDropped) {
            return true;
        }
    }
    return false;
}

void Inbox::clear()
{
    m_lastDropped = m_lastCall;
    // Signals that Qt has posted already are appended first.
    if (m_thread.isRunning()) { // the system may be out of threads
        QMetaObject::invokeMethod(
            m_signals, [] {}, Qt::BlockingQueuedConnection);
    }
    Item item;
    while (next(&item)) {
    }
}

#include "inbox.moc"
