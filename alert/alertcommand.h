// SPDX-License-Identifier: MIT
#pragma once

#include <QtCore/QString>

#include <string>

/// The texts of a notification for its alert command.
struct AlertCommandArgs {
    QString title;
    QString packageName;
    QString appName;
    QString body;
    QString subText;
    QString category; ///< Android's name for it, such as "msg"
};

/// Runs the command line `command`, without a shell, with the texts in its environment. Waits for its end and kills it
/// after 30 s, so it belongs on a worker thread. Reports no result.
void runAlertCommand(const QString &title, const QString &packageName, const QString &appName, const QString &body,
                     const QString &subText, const QString &category, const std::string &command);
