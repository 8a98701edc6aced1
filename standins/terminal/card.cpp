// SPDX-License-Identifier: MIT
#include "standins/terminal/card.h"

#include "standins/protocol/remoteaction.h"
#include "standins/terminal/text.h"

#include <QtCore/QDateTime>
#include <QtCore/QFileInfo>
#include <QtCore/QRegularExpression>
#include <QtCore/QUrl>

#include <algorithm>

namespace hint = protocol::hint;

namespace
{

constexpr int barWidth = 24;

QString iconName(const QString &icon)
{
    return QFileInfo(icon.startsWith(QLatin1String("file:")) ? QUrl(icon).toLocalFile() : icon).fileName();
}

QString heading(const DesktopNotification &notification)
{
    QStringList parts = {notification.appName, notification.hints.value(hint::subText()).toString()};
    const QVariant timestamp = notification.hints.value(hint::timestamp());
    if (timestamp.isValid()) {
        parts.append(QDateTime::fromMSecsSinceEpoch(timestamp.toLongLong()).toString(QStringLiteral("HH:mm")));
    }
    parts.removeAll(QString());
    return parts.join(QStringLiteral(" · "));
}

QString progressBar(const QVariantMap &hints)
{
    const QVariant value = hints.value(hint::value());
    if (!value.isValid()) {
        const bool indeterminate = hints.value(hint::progress()).userType() == QMetaType::Int;
        return indeterminate ? QStringLiteral("[%1]").arg(QString(barWidth, QChar(0x2592))) : QString();
    }
    const int percent = std::clamp(value.toInt(), 0, 100);
    const int full = percent * barWidth / 100;
    return QStringLiteral("[%1%2] %3 %")
        .arg(QString(full, QChar(0x2588)), QString(barWidth - full, QChar(0x2591)))
        .arg(percent);
}

QStringList marks(const DesktopNotification &notification)
{
    const QVariantMap &hints = notification.hints;
    QStringList marks;
    const auto add = [&](bool applies, const QString &mark) {
        if (applies) {
            marks.append(mark);
        }
    };
    const QString category = hints.value(hint::category()).toString();
    const int count = hints.value(hint::itemCount()).toInt();
    add(!category.isEmpty(), category);
    add(count > 0, QStringLiteral("%1 item%2").arg(count).arg(QLatin1String(count == 1 ? "" : "s")));
    add(hints.value(hint::transient()).toBool(), QStringLiteral("passing"));
    add(hints.value(hint::resident()).toBool(), QStringLiteral("stays"));
    add(!hints.value(hint::userRemovable(), true).toBool(), QStringLiteral("can't be dismissed"));
    add(hints.value(hint::suppressSound()).toBool(), QStringLiteral("silent"));
    add(!notification.appIcon.isEmpty(), QStringLiteral("icon ") + iconName(notification.appIcon));
    const QString picture = hints.value(hint::imagePath()).toString();
    add(!picture.isEmpty(), QStringLiteral("picture ") + iconName(picture));
    return marks;
}

QStringList buttons(const DesktopNotification &notification)
{
    QStringList buttons;
    const QHash<QString, RemoteAction> remote = remoteActions(notification.hints);
    for (int i = 0; i + 1 < notification.actions.size(); i += 2) {
        const QString &name = notification.actions.at(i);
        if (name == QLatin1String("default")) {
            continue; // a tap on the notification itself
        }
        QString text = notification.actions.at(i + 1);
        const RemoteAction action = remote.value(name);
        if (action.takesText) {
            const QString choices = action.choices.join(QStringLiteral(" / "));
            text += QChar(0x2026) + (choices.isEmpty() ? QString() : QLatin1Char(' ') + choices);
        }
        buttons.append(QStringLiteral("[ %1 ]").arg(text));
    }
    return buttons;
}

/// The items in lines, each item in one piece where it fits.
QStringList flowed(QStringList items, const QString &separator, int width)
{
    constexpr QChar glue(QChar::Nbsp);
    QStringList lines = wrapped(items.replaceInStrings(QStringLiteral(" "), glue).join(separator), width);
    lines.replaceInStrings(glue, QStringLiteral(" "));
    return lines.replaceInStrings(QRegularExpression(QStringLiteral(" ·$")), QString());
}

} // namespace

QString renderShown(const DesktopNotification &notification, bool replaced)
{
    const bool critical = notification.hints.value(hint::urgency()).toInt() == 2;
    const Style edgeStyle = critical ? Style::Red : replaced ? Style::Blue : Style::Green;
    const QString edge = styled(QStringLiteral("┃ "), edgeStyle);
    const int inner = std::max(columns() - 2, 20);

    QStringList card;
    const auto add = [&](const QStringList &lines, Style style) {
        for (const QString &line : lines) {
            if (!line.isEmpty()) {
                card.append(edge + styled(line, style));
            }
        }
    };
    const QString mark = replaced ? QStringLiteral("↻ ") : QStringLiteral("● ");
    add(wrapped((mark + heading(notification)).trimmed() + QLatin1String(critical ? "  !" : ""), inner), edgeStyle);
    add(wrapped(notification.summary, inner), Style::Bold);
    add(wrapped(notification.body, inner), Style::Plain);
    add({progressBar(notification.hints)}, Style::Green);
    add(flowed(buttons(notification), QStringLiteral(" "), inner), Style::Yellow);
    add(flowed(marks(notification), QStringLiteral(" · "), inner), Style::Dim);
    return card.join(QLatin1Char('\n'));
}

QString renderClosed(const DesktopNotification &notification, uint reason)
{
    static const char *const reasons[] = {"gone", "expired", "dismissed", "closed"};
    const QString why = QLatin1String(reasons[reason < 4 ? reason : 0]);
    return styled(QStringLiteral("✕ %1: %2").arg(why, printable(notification.summary)), Style::Dim);
}
