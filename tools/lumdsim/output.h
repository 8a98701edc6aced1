// SPDX-License-Identifier: MIT
#pragma once

#include "standins/protocol/desktopnotification.h"

#include <QtCore/QJsonObject>

#include <functional>
#include <map>

/// The exit status; `Interrupted` and a signal's number when one has ended the program.
enum Status { Good = 0, NoEnvironment = 1, BadInput = 2, Misuse = 3, Interrupted = 128 };

/// Prints a message on the standard error; returns `status`.
Status say(Status status, const QString &message);

/// Prints the events, as text or as one JSON object a line. Holds reports until `flush()` and sorts them then: the
/// effects of one cause arrive in no certain order.
class Output
{
public:
    explicit Output(bool json)
        : m_json(json)
    {
    }

    /// Line `number` of the script causes the reports from now on; 0 for those that no line causes.
    void setLine(int number) { m_line = number; }

    /// Prints a line of the script at once, for people only.
    void echo(const QString &line) const;
    void shown(const DesktopNotification &notification, bool replaced);
    void unchanged(const QString &key);
    void action(const QString &key, const QString &title, const QString &identifier);
    void invoked(const QString &method, const QStringList &arguments);
    void closed(const DesktopNotification &notification, uint reason);
    void removed(const QString &key);
    /// The script cannot play the user here.
    void skipped(const QString &verb, const QString &key);

    void flush();
    /// Counts the reports that the host may have acted upon.
    int effects() const { return m_effects; }
    /// Called for every report.
    std::function<void()> onReport;

private:
    /// From cause to effect.
    enum Rank { Shown, Told, Closed, Removed };
    void report(Rank rank, const char *event, const QString &key, QJsonObject json, const QString &human);

    bool m_json;
    int m_effects = 0;
    int m_line = 0;
    std::multimap<Rank, QString> m_held;
};
