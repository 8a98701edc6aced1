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

/// The bridge between the host's Android notifications and the desktop's. One object for each load of the
/// plug-in; lives on the host's thread and is driven by the host's callbacks and that thread's event loop.
/// Nothing that goes wrong is reported to the host: it is logged and the work goes on.
class NotificationsImpl : public QObject
{
    Q_OBJECT

public:
    /// Connects to the notification server, registers the host's callbacks and clears what an earlier run
    /// left behind. `alertCommand` is a command line, empty for none.
    NotificationsImpl(lu_handle *handle, bool actionInput, const std::string &alertCommand, QObject *parent);
    /// Clears the notifications and unregisters the callbacks; does not wait for an alert command.
    ~NotificationsImpl() override;

    /// Shows an Android notification, updates it in place, or drops it when nothing visible changed.
    void addNotification(lu_field *record);
    /// Whether two versions of a notification show the same; `fresh` is the one not yet published.
    bool unchanged(Notification *old, Notification *fresh) const;
    /// Shows a transient message.
    void publishNotification(lu_field *record);
    /// Closes the notification in 500 ms, unless it is added again by then.
    void removeNotification(const char *key);
    /// A registered notification, the sender, was closed on the desktop.
    void notificationClosed(uint reason);
    /// Closes all of this application's notifications and empties the icon cache.
    void cleanupNotifications();
    /// An alert command has ended: starts the next one that waits.
    void handleAlertFinished();
    /// Show how the installation or uninstallation of a package ended.
    void notifyInstallationResult(lu_field *record);
    void notifyUninstallationResult(lu_field *record);
    /// Shows the progress of package optimisation; an empty summary ends it.
    void dexOptNotify(const char *summary, const char *body, double progress);

    /// The host's key of a desktop notification; empty when it has none.
    QString getKey(Notification *notification) const;
    /// Has the notification's signals handled here.
    void connectNotif(Notification *notification);
    /// Drops the removals that the host asked for before it connected anew.
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

    /// Lets `fresh` take the place of the key's live notification, if there is one. False, with nothing replaced, when
    /// the two show the same.
    bool supersede(const QString &key, Notification *fresh);
    void closeDexOptNotification();
    /// Runs the alert command now, or after those that wait already.
    void requestAlert(const AlertCommandArgs &args);
    void startAlert(const AlertCommandArgs &args, const std::string &command);

    lu_handle *m_handle;
    QMap<QString, Notification *> m_notifications; ///< the live notification of each key; owned
    QStringList m_pendingCloseKeys;                ///< one entry for each removal that waits for its timer
    QDir m_iconCacheDir;
    bool m_actionInput;
    std::string m_alertCommand;
    Notification *m_dexOptNotification = nullptr; ///< while shown; owned
    QFutureWatcher<void> m_alertWatcher;
    QList<AlertCommandArgs> m_alertQueue;
    QMutex m_alertMutex; ///< guards `m_alertQueue` and the start of a run on `m_alertWatcher`
};
