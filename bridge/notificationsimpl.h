// SPDX-License-Identifier: MIT
#pragma once

#include "alert/alertcommand.h"
#include "plugin/clientlibrary.h"
#include "plugin/lumd.h"

#include <QtCore/QDir>
#include <QtCore/QFutureWatcher>
#include <QtCore/QList>
#include <QtCore/QMap>
#include <QtCore/QMutex>
#include <QtCore/QObject>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <string>

/// The bridge between the host's Android notifications and the desktop's. Each load of the plug-in makes one object.
/// It lives on the host's thread; the host's callbacks and that thread's event loop drive it. It logs errors and goes
/// on, and reports none to the host.
class NotificationsImpl : public QObject
{
    Q_OBJECT

public:
    /// Connects to the notification server, registers the host's callbacks and clears the notifications of an earlier
    /// run. `alertCommand` is a command line, empty for none.
    NotificationsImpl(lu_handle *handle, bool actionInput, const std::string &alertCommand, QObject *parent);
    /// Clears the notifications and unregisters the callbacks. Does not wait for an alert command.
    ~NotificationsImpl() override;

    /// Shows or updates an Android notification; drops an update that changes nothing visible.
    void addNotification(lu_field *record);
    /// Whether two versions of a notification look the same; `fresh` is not yet published.
    bool unchanged(Notification *old, Notification *fresh) const;
    /// Shows a transient message.
    void publishNotification(lu_field *record);
    /// Closes the notification in 500 ms, unless the host adds it again by then.
    void removeNotification(const char *key);
    /// The sender, a registered notification, was closed on the desktop.
    void notificationClosed(uint reason);
    /// Closes all of this application's notifications and empties the icon cache.
    void cleanupNotifications();
    /// An alert command has ended: starts the next one in the queue.
    void handleAlertFinished();
    /// Show how the installation or uninstallation of a package ended.
    void notifyInstallationResult(lu_field *record);
    void notifyUninstallationResult(lu_field *record);
    /// Shows the progress of package optimisation; an empty summary ends it.
    void dexOptNotify(const char *summary, const char *body, double progress);

    /// The host's key of a desktop notification; empty when it has none.
    QString getKey(Notification *notification) const;
    /// Connects the notification's signals to this object.
    void connectNotif(Notification *notification);
    /// Drops the pending removals when the host has reconnected.
    void newConnection();

private Q_SLOTS:
    void actionInvoked(const QString &action);
    void onCloseNotifTimerExpired(const QString &key);

private:
    // The host's callbacks; `userData` is the bridge object.
    static void init(lu_handle *handle, void *userData);
    static void deinit(lu_handle *handle, void *userData);
    static void connected(lu_handle *handle, void *userData);
    static void clear(lu_handle *handle, void *userData);
    static void add(lu_handle *handle, lu_field *record, void *userData);
    static void remove(lu_handle *handle, const char *key, void *userData);
    static void publish(lu_handle *handle, lu_field *record, void *userData);
    static void installation_result(lu_handle *handle, lu_field *record, void *userData);
    static void uninstallation_result(lu_handle *handle, lu_field *record, void *userData);
    static void dexopt_notify(lu_handle *handle, const char *summary, const char *body, double progress,
                              void *userData);
    static lu_plugin_notifications_callbacks callbacks();

    /// Replaces the key's live notification, if there is one, by `fresh`. False, with nothing replaced, when the two
    /// look the same.
    bool supersede(const QString &key, Notification *fresh);
    void closeDexOptNotification();
    /// Runs the alert command now, or queues it while another one runs.
    void requestAlert(const AlertCommandArgs &args);
    void startAlert(const AlertCommandArgs &args, const std::string &command);

    lu_handle *m_handle;
    QMap<QString, Notification *> m_notifications; ///< the live notification of each key; owned
    QStringList m_pendingCloseKeys;                ///< one entry for each removal whose timer is armed
    QDir m_iconCacheDir;
    bool m_actionInput;
    std::string m_alertCommand;
    Notification *m_dexOptNotification = nullptr; ///< while shown; owned
    QFutureWatcher<void> m_alertWatcher;
    QList<AlertCommandArgs> m_alertQueue;
    QMutex m_alertMutex; ///< guards `m_alertQueue` and the start of a run on `m_alertWatcher`
};
