// SPDX-License-Identifier: MIT
#pragma once

#include "standins/protocol/desktopnotification.h"

#include <QtCore/QHash>
#include <QtCore/QJsonObject>

#include <functional>
#include <vector>

/// Prints what happens, for people or as one JSON object a line. Reports are held until `flush()` and sorted
/// then: what follows from one cause arrives in no certain order.
class Output
{
public:
    explicit Output(bool json)
        : m_json(json)
    {
    }

    /// Line `number` of the script, about the notification with this key, causes what is reported from now on; 0 for
    /// what happens by itself, which is put down to the latest line about the same notification.
    void begin(int number, const QString &key);

    /// Prints at once, for people only.
    void say(const QString &line) const;
    void shown(const QString &key, const DesktopNotification &notification, bool replaced);
    void unchanged(const QString &key);
    void action(const QString &key, const QString &title, const QString &identifier);
    void invoked(const QString &method, const QStringList &arguments);
    void closed(const QString &key, const DesktopNotification &notification, uint reason);
    void removed(const QString &key);
    /// What the user should do cannot be done here.
    void skipped(const QString &verb, const QString &key);

    void flush();
    /// Count what was ever reported: all, and what the host may act upon.
    int reports() const { return m_reports; }
    int effects() const { return m_effects; }
    /// Called for every report.
    std::function<void()> onReport;

private:
    /// From cause to effect.
    enum Rank { Shown, Told, Closed, Removed };
    struct Report {
        Rank rank;
        QString subject;
        QString text;
    };
    void report(Rank rank, const char *event, const QString &key, uint id, QJsonObject json, const QString &human);

    bool m_json;
    int m_reports = 0;
    int m_effects = 0;
    int m_line = 0;
    QHash<QString, int> m_lines; ///< the latest about each notification, by key or identifier
    std::vector<Report> m_held;
};
