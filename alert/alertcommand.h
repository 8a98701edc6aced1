// SPDX-License-Identifier: MIT
#pragma once

#include <QtCore/QString>

#include <string>

/// What an alert command is told about its notification.
struct AlertCommandArgs {
    QString title;
    QString packageName;
    QString appName;
    QString body;
    QString subText;
    QString category; ///< as Android names it, such as "msg"
};

/// Runs `command`, a command line (no shell), with the texts in its environment, and waits for its end; kills
/// it when it takes longer than 30 s. Blocks, so it belongs on a worker thread. No outcome is reported.
void runAlertCommand(const QString &title, const QString &packageName, const QString &appName, const QString &body,
                     const QString &subText, const QString &category, const std::string &command);
