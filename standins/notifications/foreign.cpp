// SPDX-License-Identifier: MIT
#include "standins/notifications/foreign.h"

#include "standins/notifications/notification_p.h"

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

} // namespace

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

void adaptToForeign(DesktopNotification &wire, const NotificationPrivate &notification,
                    const ServerCapabilities &server)
{
    wire.actions.clear();
    for (const Button &button : buttons(notification.remoteActions, server.inlineReply)) {
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
    if (!notification.subText.isEmpty()) {
        appendSubText(wire.body, notification.subText, server.bodyMarkup);
    }
}
