// SPDX-License-Identifier: MIT
#include "standins/terminal/card.h"

#include <QtCore/QDateTime>
#include <QtCore/QFileInfo>
#include <QtCore/QUrl>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <sys/ioctl.h>
#include <unistd.h>

namespace hint = protocol::hint;

namespace
{

constexpr int barWidth = 24;

enum class Style { Plain, Bold, Dim, Red, Green, Yellow, Blue };

int columns()
{
    winsize window = {};
    return ioctl(STDOUT_FILENO, TIOCGWINSZ, &window) == 0 && window.ws_col > 0 ? window.ws_col : 80;
}

QString styled(const QString &text, Style style)
{
    static constexpr const char *codes[] = {"0", "1", "2", "31;1", "32", "33", "34"};
    static const bool colours = isatty(STDOUT_FILENO) == 1 && qEnvironmentVariableIsEmpty("NO_COLOR");
    if (!colours || style == Style::Plain || text.isEmpty()) {
        return text;
    }
    return QStringLiteral("\x1b[%1m%2\x1b[0m").arg(QLatin1String(codes[static_cast<int>(style)]), text);
}

/// Applications choose the texts; what would move the cursor or turn the reading direction becomes visible.
bool isHarmful(QChar c)
{
    return c.category() == QChar::Other_Control || c.category() == QChar::Other_Format ||
           c.category() == QChar::Separator_Line || c.category() == QChar::Separator_Paragraph;
}

QStringList wrapped(const QString &text, int width)
{
    QStringList lines;
    const QStringList paragraphs = text.split(QLatin1Char('\n'));
    for (const QString &paragraph : paragraphs) {
        QString rest = printable(paragraph);
        while (rest.size() > width) {
            const int blank = rest.lastIndexOf(QLatin1Char(' '), width);
            const int cut = blank > 0 ? blank : width;
            lines.append(rest.left(cut));
            rest = rest.mid(blank > 0 ? cut + 1 : cut);
        }
        lines.append(rest);
    }
    return lines;
}

QString iconName(const QString &icon)
{
    return printable(QFileInfo(icon.startsWith(QLatin1String("file:")) ? QUrl(icon).toLocalFile() : icon).fileName());
}

QString heading(const DesktopNotification &notification)
{
    QStringList parts = {printable(notification.appName),
                         printable(notification.hints.value(hint::subText()).toString())};
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
    const QString category = printable(hints.value(hint::category()).toString());
    const QVariant removable = hints.value(hint::userRemovable());
    const int count = hints.value(hint::itemCount()).toInt();
    add(!category.isEmpty(), category);
    add(count > 0, QStringLiteral("%1 item%2").arg(count).arg(QLatin1String(count == 1 ? "" : "s")));
    add(hints.value(hint::transient()).toBool(), QStringLiteral("passing"));
    add(hints.value(hint::resident()).toBool(), QStringLiteral("stays"));
    add(removable.isValid() && !removable.toBool(), QStringLiteral("can't be dismissed"));
    add(hints.value(hint::suppressSound()).toBool(), QStringLiteral("silent"));
    add(!notification.appIcon.isEmpty(), QStringLiteral("icon ") + iconName(notification.appIcon));
    const QString picture = hints.value(hint::imagePath()).toString();
    add(!picture.isEmpty(), QStringLiteral("picture ") + iconName(picture));
    return marks;
}

QString buttons(const DesktopNotification &notification)
{
    QStringList buttons;
    const QVariantList remote = notification.hints.value(hint::remoteActions()).toList();
    for (int i = 0; i + 1 < notification.actions.size(); i += 2) {
        if (notification.actions.at(i) == QLatin1String("default")) {
            continue; // a tap on the notification itself
        }
        QString text = printable(notification.actions.at(i + 1));
        const QVariantMap input = remote.value(i / 2).toMap().value(QStringLiteral("input")).toMap();
        if (!input.isEmpty()) {
            text += QChar(0x2026);
            const QStringList choices = input.value(QStringLiteral("choices")).toStringList();
            text += choices.isEmpty() ? QString() : QLatin1Char(' ') + printable(choices.join(QStringLiteral(" / ")));
        }
        buttons.append(QStringLiteral("[ %1 ]").arg(text));
    }
    return buttons.join(QLatin1Char(' '));
}

} // namespace

void print(const QString &text)
{
    const QByteArray bytes = text.toUtf8();
    const auto size = static_cast<size_t>(bytes.size());
    if ((std::fwrite(bytes.constData(), 1, size, stdout) < size || std::fflush(stdout) != 0) && errno != EPIPE) {
        std::perror("standard output");
    }
}

QString printable(const QString &text)
{
    QString safe = text;
    std::replace_if(safe.begin(), safe.end(), isHarmful, QChar(QChar::ReplacementCharacter));
    return safe;
}

QString renderShown(const DesktopNotification &notification, bool replaced)
{
    const QVariant urgencyHint = notification.hints.value(hint::urgency());
    const bool critical = urgencyHint.toInt() == 2;
    const Style edgeStyle = critical ? Style::Red : replaced ? Style::Blue : Style::Green;
    const QString edge = styled(QStringLiteral("┃ "), edgeStyle);
    const int inner = std::max(columns() - 2, 20);

    QStringList lines;
    const auto add = [&](const QString &text, Style style) {
        if (!text.isEmpty()) {
            lines.append(edge + styled(text, style));
        }
    };
    const QString mark = replaced ? QStringLiteral("↻ ") : QStringLiteral("● ");
    add(mark + heading(notification) + (critical ? QStringLiteral("  !") : QString()), edgeStyle);
    for (const QString &line : wrapped(notification.summary, inner)) {
        add(line, Style::Bold);
    }
    for (const QString &line : wrapped(notification.body, inner)) {
        add(line, Style::Plain);
    }
    add(progressBar(notification.hints), Style::Green);
    add(buttons(notification), Style::Yellow);
    add(marks(notification).join(QStringLiteral(" · ")), Style::Dim);
    return lines.join(QLatin1Char('\n')) + QLatin1Char('\n');
}

QString renderClosed(uint id, const QString &summary, uint reason)
{
    static const char *const reasons[] = {"", "expired", "dismissed", "closed"};
    const QString why = reason >= 1 && reason <= 3 ? QString::fromLatin1(reasons[reason]) : QStringLiteral("gone");
    const QString what = summary.isEmpty() ? QStringLiteral("notification %1").arg(id) : printable(summary);
    return styled(QStringLiteral("✕ %1: %2").arg(why, what), Style::Dim) + QLatin1Char('\n');
}
