// SPDX-License-Identifier: MIT
#include "standins/terminal/signals.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QSocketNotifier>

#include <csignal>
#include <sys/eventfd.h>
#include <unistd.h>

static int wakeUp = -1;
static volatile std::sig_atomic_t latest = 0;

static void note(int signal)
{
    const int error = errno;
    latest = signal;
    eventfd_write(wakeUp, 1);
    errno = error;
}

void exitOnSignals()
{
    wakeUp = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    auto *const notifier = new QSocketNotifier(wakeUp, QSocketNotifier::Read, QCoreApplication::instance());
    QObject::connect(notifier, &QSocketNotifier::activated, notifier, [] {
        eventfd_t count = 0;
        eventfd_read(wakeUp, &count);
        QCoreApplication::exit(128 + latest);
    });
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction action = {};
        action.sa_handler = note;
        action.sa_flags = SA_RESTART;
        sigaction(signal, &action, nullptr);
    }
}

int lastSignal() { return latest; }
