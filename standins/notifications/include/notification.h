// SPDX-License-Identifier: MIT
#pragma once

#include <QtCore/QDateTime>
#include <QtCore/QObject>
#include <QtCore/QVariant>

#include <memory>

#if defined(VORN_NOTIFICATIONS_LIBRARY)
#define VORN_NOTIFICATIONS_EXPORT Q_DECL_EXPORT
#else
#define VORN_NOTIFICATIONS_EXPORT Q_DECL_IMPORT
#endif

class NotificationPrivate;
class Publisher;

/// One notification of the desktop notification server (freedesktop.org Desktop Notifications 1.2).
/// Setters only change this object; `publish()` sends it. To be used on one thread, which runs an event loop
/// for the signals.
class VORN_NOTIFICATIONS_EXPORT Notification : public QObject
{
    Q_OBJECT

public:
    enum Urgency { Low = 0, Normal = 1, Critical = 2 };
    Q_ENUM(Urgency)

    explicit Notification(QObject *parent = nullptr);
    /// A published notification stays on the server.
    ~Notification() override;

    QString appName() const;
    void setAppName(const QString &name);
    /// Absolute file path, `file:` URI or name in the icon theme.
    void setAppIcon(const QString &icon);
    /// The notification's own picture: absolute file path, `file:` URI or name in the icon theme.
    void setIcon(const QString &icon);
    QString summary() const;
    void setSummary(const QString &summary);
    /// Plain text; escaped on the way to a server that takes markup.
    QString body() const;
    void setBody(const QString &body);
    QString subText() const;
    void setSubText(const QString &subText);
    /// A short pop-up shows these instead of summary and body.
    void setPreviewSummary(const QString &summary);
    void setPreviewBody(const QString &body);
    void setCategory(const QString &category);

    /// Normal unless set.
    Urgency urgency() const;
    void setUrgency(Urgency urgency);
    /// 0 unless set.
    int itemCount() const;
    void setItemCount(int count);
    void setTimestamp(const QDateTime &timestamp);
    /// A `double` from 0 to 1, or the `int` -1 for progress of unknown extent; null unless set.
    void setProgress(const QVariant &progress);
    /// Whether it stays after one of its actions was invoked.
    void setResident(bool resident);
    /// Whether the server shows it without keeping it.
    void setIsTransient(bool transient);

    /// Null when there is no such hint.
    QVariant hintValue(const QString &hint) const;
    void setHintValue(const QString &hint, const QVariant &value);

    /// Descriptions made by `remoteAction()`.
    QVariantList remoteActions() const;
    void setRemoteActions(const QVariantList &actions);

    /// Describes an action that calls a D-Bus method when the user invokes it. Equal arguments give equal
    /// descriptions.
    static QVariant remoteAction(const QString &name, const QString &displayName, const QString &service,
                                 const QString &objectPath, const QString &interface, const QString &method,
                                 const QVariantList &arguments = QVariantList());
    /// `action`, changed so that it takes text from the user: typed freely if `freeInput`, or one of `choices`.
    static QVariant actionSetInputFormat(const QVariant &action, const QString &label, bool freeInput,
                                         const QStringList &choices);

    /// The server's identifier; 0 while there is none.
    uint replacesId() const;
    /// Publishing with a non-zero identifier replaces that notification in place.
    void setReplacesId(uint id);

    /// Sends the notification and waits a bounded time for the server's identifier. A server that does not
    /// answer costs a warning; an identifier that comes later is still taken.
    void publish();
    /// Asks the server to close the notification; does not wait.
    void close();

    /// The application's notifications on the server, those of an earlier run included; on servers that cannot list
    /// them, those of this process. The caller owns the objects.
    static QList<QObject *> notifications();

Q_SIGNALS:
    void actionInvoked(const QString &action);
    /// `reason`: 1 expired, 2 dismissed by the user, 3 closed on request, 4 undefined.
    void closed(uint reason);

private:
    friend class Publisher;
    std::unique_ptr<NotificationPrivate> d;
};
