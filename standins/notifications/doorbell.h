// SPDX-License-Identifier: MIT
#pragma once

#include <QtCore/QAbstractEventDispatcher>
#include <QtCore/QSemaphore>
#include <QtCore/QThread>

/// Lets a thread sleep, a limited time, until an event is posted to an object that was moved to `thread()`. That
/// thread never runs and delivers nothing; its event dispatcher, which this is, is told of the event by the thread
/// that posts it. So the sleeper wakes without a third thread in between.
class Doorbell : public QAbstractEventDispatcher
{
public:
    Doorbell() { m_thread.setEventDispatcher(this); }

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
