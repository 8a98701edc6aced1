// SPDX-License-Identifier: MIT
#include "standins/notifications/boundedwait.h"

#include <QtCore/QAbstractEventDispatcher>
#include <QtCore/QDeadlineTimer>
#include <QtCore/QSemaphore>
#include <QtCore/QThread>
#include <QtDBus/QDBusPendingCallWatcher>

#include <algorithm>

namespace
{

/// The longest wait, and what can be saved up; 10 s add as much as makes 1.5 s in all.
constexpr double maximumMs = 1000;
constexpr double savedInOneMs = 0.05;
constexpr qint64 quickMs = 250;

} // namespace

/// Lets a thread sleep, a limited time, until an event is posted to an object that was moved to `thread()`. That thread
/// never runs and delivers nothing; its event dispatcher, which this is, is told of the event by the thread that posts
/// it. So the sleeper wakes without a third thread in between, whose two switches would cost a quarter of a call.
class BoundedWait::Doorbell : public QAbstractEventDispatcher
{
public:
    Doorbell() { m_thread.setEventDispatcher(this); }

    QThread *thread() { return &m_thread; }
    /// Returns when it rings, or has rung since the last time.
    void wait(qint64 ms) { m_rings.tryAcquire(1, static_cast<int>(ms)); }

    void wakeUp() override { m_rings.release(); }
    bool processEvents(QEventLoop::ProcessEventsFlags /*flags*/) override { return false; }
    bool hasPendingEvents() override { return false; }
    void registerSocketNotifier(QSocketNotifier * /*notifier*/) override {}
    void unregisterSocketNotifier(QSocketNotifier * /*notifier*/) override {}
    void registerTimer(int /*id*/, int /*interval*/, Qt::TimerType /*type*/, QObject * /*object*/) override {}
    bool unregisterTimer(int /*id*/) override { return false; }
    bool unregisterTimers(QObject * /*object*/) override { return false; }
    QList<TimerInfo> registeredTimers(QObject * /*object*/) const override { return {}; }
    int remainingTime(int /*id*/) override { return -1; }
    void interrupt() override {}
    void flush() override {}

private:
    QSemaphore m_rings;
    QThread m_thread;
};

BoundedWait::BoundedWait()
    : m_bell(std::make_unique<Doorbell>())
{
    reset();
}

BoundedWait::~BoundedWait() = default;

void BoundedWait::reset(qint64 waitedMs)
{
    m_budgetMs = std::max(maximumMs - static_cast<double>(waitedMs), 0.0);
    m_clock.start();
    m_disappointed = false;
}

bool BoundedWait::isAnswered(const QDBusPendingCall &call)
{
    if (m_disappointed || call.isFinished()) {
        return call.isFinished();
    }
    QDBusPendingCallWatcher watcher(call);
    watcher.moveToThread(m_bell->thread());
    const double budget =
        std::min(m_budgetMs + static_cast<double>(m_clock.nsecsElapsed()) / 1e6 * savedInOneMs, maximumMs);
    m_clock.start();
    const QDeadlineTimer deadline(static_cast<qint64>(budget));
    while (!call.isFinished() && !deadline.hasExpired()) {
        m_bell->wait(deadline.remainingTime());
    }
    m_budgetMs = std::max(budget - static_cast<double>(m_clock.nsecsElapsed()) / 1e6, 0.0);
    m_clock.start();
    m_disappointed = !call.isFinished();
    return !m_disappointed;
}

void BoundedWait::heard(qint64 afterMs) { m_disappointed = m_disappointed && afterMs > quickMs; }
