// SPDX-License-Identifier: MIT
#pragma once

#include "standins/protocol/desktopnotification.h"
#include "standins/terminal/card.h"

#include <QtCore/QJsonObject>

#include <functional>
#include <vector>

/// Prints what happens, for people or as one JSON object a line. Reports are held until `flush()` and sorted
/// then: those of one cause arrive over two connections, in no certain order.
class Output
{
public:
    explicit Output(bool json)
        : m_json(json)
    {
    }

    /// Prints at once, for people only.
    void say(const QString &line) const;
    void shown(const DesktopNotification &notification, bool replaced);
    void action(const QString &key, const QString &title, const QString &identifier);
    void invoked(const QString &method, const QStringList &arguments);
    void closed(const DesktopNotification &notification, uint reason);
    void removed(const QString &key);

    void flush();
    /// Counts all that was ever reported.
    int reports() const { return m_reports; }
    /// Called for every report.
    std::function<void()> onReport;

private:
    /// From cause to effect.
    enum Rank { Shown, Told, Closed, Removed };
    void report(Rank rank, const QString &human, const QJsonObject &json);

    bool m_json;
    int m_reports = 0;
    std::vector<std::pair<Rank, QString>> m_held;
};
