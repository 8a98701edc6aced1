// SPDX-License-Identifier: MIT
#include "bridge/notificationsimpl.h"

#include <QtConcurrent/QtConcurrentRun>
#include <QtCore/QMutexLocker>

void NotificationsImpl::requestAlert(const AlertCommandArgs &args)
{
    const std::string command = m_alertCommand; // copied before the lock is taken
    const QMutexLocker lock(&m_alertMutex);
    if (m_alertWatcher.isFinished() && m_alertQueue.isEmpty()) {
        startAlert(args, command);
    } else {
        m_alertQueue.append(args);
    }
}

void NotificationsImpl::handleAlertFinished()
{
    const QMutexLocker lock(&m_alertMutex);
    if (!m_alertQueue.isEmpty()) {
        startAlert(m_alertQueue.takeFirst(), m_alertCommand);
    }
}

/// The task has its own copies, because it may outlive the bridge object.
void NotificationsImpl::startAlert(const AlertCommandArgs &args, const std::string &command)
{
    m_alertWatcher.setFuture(QtConcurrent::run([args, command] {
        runAlertCommand(args.title, args.packageName, args.appName, args.body, args.subText, args.category, command);
    }));
}
