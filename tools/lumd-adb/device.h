// SPDX-License-Identifier: MIT
#pragma once

#include "tools/lumd-adb/phonenotification.h"

#include <QtCore/QProcess>
#include <QtCore/QTimer>

#include <functional>
#include <vector>

/// The device at the other end of adb. Processes of adb that wait tell when something has changed: which devices there
/// are, and that a notification was posted or cancelled. Nothing is asked while neither happens.
class Device : public QObject
{
    Q_OBJECT

public:
    /// `serial` names the device; empty for the only one that there is.
    explicit Device(const QString &serial);
    /// Ends the processes.
    ~Device() override;

    /// Begins to look for it. False, with `error`, when adb cannot be used.
    bool start(QString *error);
    /// Starts an application on it. `package` must be a valid name.
    void open(const QString &package);

Q_SIGNALS:
    /// All that it shows now.
    void listed(const std::vector<PhoneNotification> &notifications);
    /// Its notifications are out of reach.
    void left();
    /// Something for people.
    void said(const QString &line);

private:
    void readDevices();
    void choose(const QByteArray &devices);
    void use(const QString &serial);
    void askSoon();
    void readAnswer(int status);
    void retry();
    QStringList onDevice(const QString &command) const;
    void say(const QString &line);
    void shell(const QString &command, const std::function<void(const QByteArray &)> &answered);

    const QString m_wanted;
    QString m_serial; ///< empty while there is none
    QString m_said;
    QByteArray m_devices; ///< not yet a whole list
    QProcess m_tracker;
    QProcess m_log;
    QProcess m_question;
    QTimer m_pause;       ///< before the next question
    QTimer m_retry;       ///< starts ended processes again
    bool m_again = false; ///< something may have changed since the question
};
