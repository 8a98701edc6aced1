#include "bridge/notificationsimpl.h"

#include <QtConcurrent/QtConcurrentRun>
#include <QtCore/QMutexLocker>

void NotificationsImpl::requestAlert(const AlertCommandArgs &args)
{
    const QMutexLocker lock(&m_alertMutex);
    if (m_alertWatcher.isFinished() && m_alertQueue.isEmpty()) {
        startAlert(args);
    } else {
        m_alertQueue.append(args);
    }
}

void NotificationsImpl::handleAlertFinished()
{
    const QMutexLocker lock(&m_alertMutex);
    if (!m_alertQueue.isEmpty()) {
        startAlert(m_alertQueue.takeFirst());
    }
}

/// The task works on copies: it may outlive the bridge object.
void NotificationsImpl::startAlert(const AlertCommandArgs &args)
{
    m_alertWatcher.setFuture(QtConcurrent::run([args, command = m_alertCommand] {
        runAlertCommand(args.title, args.packageName, args.appName, args.body, args.subText, args.category, command);
    }));
}
