// SPDX-License-Identifier: MIT
#include "bridge/notificationsimpl.h"
#include "plugin/clientlibrary.h"
#include "translation/hints.h"

void NotificationsImpl::dexOptNotify(const char *summary, const char *body, double progress)
{
    const QString summaryText = QString::fromUtf8(summary);
    if (summaryText.isEmpty()) {
        closeDexOptNotification();
        return;
    }
    if (!m_dexOptNotification) {
        m_dexOptNotification = new Notification(nullptr);
        m_dexOptNotification->setAppIcon(QStringLiteral("icon-s-android"));
        m_dexOptNotification->setAppName(QStringLiteral("Orvix"));
        m_dexOptNotification->setResident(true);
        m_dexOptNotification->setHintValue(hint::userRemovable(), false);
    }
    m_dexOptNotification->setProgress(progress);
    m_dexOptNotification->setSummary(summaryText);
    m_dexOptNotification->setBody(QString::fromUtf8(body));
    m_dexOptNotification->publish();
}

void NotificationsImpl::closeDexOptNotification()
{
    if (!m_dexOptNotification) {
        return;
    }
    m_dexOptNotification->close();
    m_dexOptNotification->deleteLater();
    m_dexOptNotification = nullptr;
}
