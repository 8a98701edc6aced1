// SPDX-License-Identifier: MIT
#pragma once

#include <QtCore/QDateTime>
#include <QtCore/QString>
#include <QtCore/QVariant>

#include "standins/notifications/include/notification.h"

/// What a notification says, and the identifier under which the server knows it.
class NotificationPrivate
{
public:
    uint id = 0;
    QString appName;
    QString appIcon;
    QString icon;
    QString summary;
    QString body;
    QString subText;
    QString previewSummary;
    QString previewBody;
    QString category;
    Notification::Urgency urgency = Notification::Normal;
    int itemCount = 0;
    bool resident = false;
    bool transient = false;
    QDateTime timestamp;
    QVariant progress;
    QVariantMap hints;
    QVariantList remoteActions;
};
