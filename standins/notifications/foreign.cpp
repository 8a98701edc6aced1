// SPDX-License-Identifier: MIT
#include "standins/notifications/foreign.h"

#include "standins/notifications/include/notification.h"
#include "standins/protocol/hints.h"

#include <algorithm>
#include <iterator>

namespace hint = protocol::hint;

namespace
{

/// As many answers as fit on a pop-up.
constexpr int maximumChoices = 3;

struct Renaming {
    const char *ours;
    const char *standard;
};

/// Icons of the platform's theme, and what the icon naming specification has instead.
constexpr Renaming icons[] = {
    {"icon-s-android", "phone"},
    {"icon-lock-warning", "dialog-warning"},
};

/// Categories, by the names that the protocol gives them.
constexpr Renaming categories[] = {
    {"chat", "im.received"},
    {"email", "email.arrived"},
    {"progress", "transfer"},
};

template <int N> QString renamed(const Renaming (&table)[N], const QString &name)
{
    for (const Renaming &renaming : table) {
        if (name == QLatin1String(renaming.ours)) {
            return QString::fromLatin1(renaming.standard);
        }
    }
    return name;
}

template <int N> void rename(const Renaming (&table)[N], QVariantMap &hints, const QString &hint)
{
    const auto found = hints.find(hint);
    if (found != hints.end()) {
        *found = renamed(table, found->toString());
    }
}

QString text(const QVariantMap &action, const char *member) { return action.value(QLatin1String(member)).toString(); }

QVariantMap input(const QVariantMap &action) { return action.value(QStringLiteral("input")).toMap(); }

QVariantMap defaultAction(const QVariantList &remoteActions)
{
    for (const QVariant &description : remoteActions) {
        const QVariantMap action = description.toMap();
        if (text(action, "name") == QLatin1String("default") && !action.contains(QStringLiteral("input"))) {
            return action;
        }
    }
    return {};
}

/// Plain `text` for a server that takes markup. Markup parsers refuse a text with control characters as a whole.
QString markup(const QString &text)
{
    QString printable;
    std::copy_if(text.cbegin(), text.cend(), std::back_inserter(printable),
                 [](QChar c) { return c.unicode() >= 0x20 || c == QLatin1Char('\n') || c == QLatin1Char('\t'); });
    return printable.toHtmlEscaped();
}

/// Few servers draw a bar; the number tells the same, unless the application says it itself.
void appendPercentage(QString &body, const QVariant &percentage)
{
    if (!body.contains(QLatin1Char('%'))) {
        body += (body.isEmpty() ? QString() : QStringLiteral(" · ")) + percentage.toString() + QLatin1Char('%');
    }
}

void appendSubText(QString &body, const QString &subText, bool bodyMarkup)
{
    const QString line = bodyMarkup ? QStringLiteral("<i>%1</i>").arg(markup(subText)) : subText;
    body += (body.isEmpty() ? QString() : QStringLiteral("\n")) + line;
}

/// A button on such a server, or the tap on the notification itself.
struct Button {
    QString key; ///< the action's name in the protocol
    QString label;
    QVariantMap action; ///< what it invokes, as `Notification::remoteAction` describes it
    QString answer;     ///< what it answers to an action that takes text
};

/// The key of the button that comes with a field to type into, on servers that have one.
QString inlineReplyKey() { return QStringLiteral("inline-reply"); }

/// What `remoteActions` become. Actions that take text are
/// - a field to type into, where the server has one (it has one a notification),
/// - one button for each of the first few choices, which answers with it,
/// - where neither does, a button that does what a tap on the notification does: the application is the place to
///   type. Without an answer the action itself must not be invoked; an application might send an empty message.
QVector<Button> buttons(const QVariantList &remoteActions, bool inlineReply)
{
    const QVariantMap tap = defaultAction(remoteActions);
    QVector<Button> buttons;
    for (const QVariant &description : remoteActions) {
        const QVariantMap action = description.toMap();
        const QString name = text(action, "name");
        const bool isTap = name == QLatin1String("default");
        // Some servers draw a button for the tap too, and it needs a word for people on it.
        const QString label = isTap ? QStringLiteral("Open") : text(action, "displayName");
        if (label.isEmpty()) {
            continue; // nobody could tell what it does
        }
        if (!action.contains(QStringLiteral("input"))) {
            buttons.append({name, label, action, {}});
            continue;
        }
        const QStringList choices = input(action).value(QStringLiteral("choices")).toStringList();
        for (int i = 0; i < qMin(choices.size(), maximumChoices); ++i) {
            if (choices.at(i).isEmpty()) {
                continue;
            }
            buttons.append({QStringLiteral("%1#%2").arg(name).arg(i), choices.at(i), action, choices.at(i)});
        }
        if (inlineReply && input(action).value(QStringLiteral("freeInput")).toBool()) {
            buttons.append({inlineReplyKey(), label, action, {}});
            inlineReply = false;
        } else if (choices.isEmpty() && !tap.isEmpty()) {
            buttons.append({name, label, tap, {}});
        }
    }
    return buttons;
}

} // namespace

void adaptToForeign(DesktopNotification &wire, const NotificationContent &content, const ServerCapabilities &server)
{
    wire.body = server.bodyMarkup ? markup(wire.body) : wire.body;
    wire.actions.clear();
    for (const Button &button : buttons(content.remoteActions, server.inlineReply)) {
        wire.actions << button.key << button.label;
        const QString placeholder = text(input(button.action), "label");
        if (button.key == inlineReplyKey() && !placeholder.isEmpty()) {
            wire.hints.insert(hint::replyPlaceholder(), placeholder);
        }
    }
    wire.appIcon = renamed(icons, wire.appIcon);
    rename(icons, wire.hints, hint::imagePath());
    rename(categories, wire.hints, hint::category());
    const QVariant percentage = wire.hints.value(hint::value());
    if (percentage.isValid() && !server.bar) {
        appendPercentage(wire.body, percentage);
    }
    if (server.bareGauge) {
        wire.hints.remove(hint::value());
    }
    if (!content.subText.isEmpty()) {
        appendSubText(wire.body, content.subText, server.bodyMarkup);
    }
}

void invokeForeign(Notification *notification, const QDBusMessage &signal, const ServerCapabilities &server,
                   const QDBusConnection &connection)
{
    const QString argument = signal.arguments().value(1).toString();
    const bool typed = signal.member() == QLatin1String("NotificationReplied");
    if (!typed && (signal.member() != QLatin1String("ActionInvoked") || argument == inlineReplyKey())) {
        return;
    }
    for (const Button &button : buttons(notification->remoteActions(), server.inlineReply)) {
        if (button.key == (typed ? inlineReplyKey() : argument)) {
            const QString answer = typed ? argument : button.answer;
            connection.send(
                remoteActionCall(button.action, typed || !answer.isEmpty() ? &answer : nullptr, connection));
            Q_EMIT notification->actionInvoked(text(button.action, "name"));
            return;
        }
    }
}
