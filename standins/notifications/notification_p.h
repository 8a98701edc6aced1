// SPDX-License-Identifier: MIT
#pragma once

#include <QtCore/QDateTime>
#include <QtCore/QVariant>

#include <memory>

class Publication;

/// The content of a notification.
struct NotificationContent {
    QString appName;
    QString appIcon;
    QString icon;
    QString summary;
    QString body;
    QString subText;
    QString previewSummary;
    QString previewBody;
    QString category;
    int urgency = 1;
    int itemCount = 0;
    bool resident = false;
    bool transient = false;
    QDateTime timestamp;
    QVariant progress;
    QVariantMap hints;
    QVariantList remoteActions;
};

class NotificationPrivate : public NotificationContent
{
public:
    uint id = 0;                              ///< of the notification that publishing replaces
    std::shared_ptr<Publication> publication; ///< since it was published
};
