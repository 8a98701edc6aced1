// SPDX-License-Identifier: MIT
#include "standins/notifications/wire.h"

#include <algorithm>
#include <iterator>

namespace hint = protocol::hint;

namespace
{

/// Categories, the names that the protocol gives them, and the sounds that the sound naming specification has for them.
/// All other names are to begin with "x-".
struct Category {
    const char *name;
    const char *standard;
    const char *sound; ///< null for none
};

constexpr Category categories[] = {
    {"chat", "im.received", "message-new-instant"},
    {"email", "email.arrived", "message-new-email"},
    {"progress", "transfer", nullptr},
    {"call", "call.incoming", "phone-incoming-call"},
    {"clock", "x-clock", "alarm-clock-elapsed"},
};

/// The counterpart of an icon of the platform's theme in the icon naming specification.
QString standardIcon(const QString &icon)
{
    if (icon == QLatin1String("icon-s-android")) {
        return QStringLiteral("phone");
    }
    return icon == QLatin1String("icon-lock-warning") ? QStringLiteral("dialog-warning") : icon;
}

/// Plain `text` for a server that takes markup. Markup parsers refuse a text with control characters as a whole.
QString markup(const QString &text)
{
    QString printable;
    std::copy_if(text.cbegin(), text.cend(), std::back_inserter(printable),
                 [](QChar c) { return c.unicode() >= 0x20 || c == QLatin1Char('\n') || c == QLatin1Char('\t'); });
    return printable.toHtmlEscaped();
}

void append(QString &body, const char *separator, const QString &text)
{
    body += (body.isEmpty() ? QString() : QString::fromUtf8(separator)) + text;
}

void adaptTexts(DesktopNotification &wire, const NotificationContent &content, const Capabilities &server)
{
    // Without a name, one server shows nothing, and another the host's.
    wire.appName = wire.appName.isEmpty() ? QStringLiteral("Android") : wire.appName;
    wire.summary = (wire.summary.isEmpty() ? wire.appName : wire.summary).replace(QLatin1Char('\n'), QLatin1Char(' '));
    wire.body = server.contains("body-markup") ? markup(wire.body) : wire.body;
    // Few servers draw a bar; the number tells the same, unless the application says it itself. Two capabilities came
    // with the on-screen display of the volume: servers that name the one draw a bar below the texts, those that name
    // the other show everything with a value as such a display, without texts.
    const QVariant percentage = wire.hints.value(hint::value());
    const bool bareGauge = server.contains("x-canonical-private-icon-only");
    const bool bar = server.contains("x-canonical-private-synchronous") && !bareGauge;
    if (percentage.isValid() && !bar && !wire.body.contains(QLatin1Char('%'))) {
        append(wire.body, " · ", percentage.toString() + QLatin1Char('%'));
    }
    if (bareGauge) {
        wire.hints.remove(hint::value());
    }
    if (!content.subText.isEmpty() && server.contains(hint::originName())) {
        wire.hints.insert(hint::originName(), content.subText);
    } else if (!content.subText.isEmpty()) {
        const QString line = QStringLiteral("<i>%1</i>").arg(markup(content.subText));
        append(wire.body, "\n", server.contains("body-markup") ? line : content.subText);
    }
    if (server.contains(hint::originName())) {
        wire.hints.insert(hint::displayAppName(), wire.appName);
    }
    if (server.has(Capabilities::TitleMarkup) || (wire.body.isEmpty() && server.has(Capabilities::LoneMarkup))) {
        wire.summary = markup(wire.summary);
    }
}

/// A sender's face matters most: on servers with one place for a picture, it goes there. All servers take paths, but
/// not all take URIs, and one never answers when the picture is the name of an icon.
void adaptPictures(DesktopNotification &wire, const NotificationContent &content, const Capabilities &server)
{
    wire.appIcon = standardIcon(server.has(Capabilities::IconUri) ? wire.appIcon : content.appIcon);
    if (content.icon.startsWith(QLatin1Char('/'))) {
        const bool old = server.has(Capabilities::OldImagePath);
        wire.hints.insert(old ? hint::oldImagePath() : hint::imagePath(), content.icon);
        wire.appIcon = server.has(Capabilities::OnePicture) ? content.icon : wire.appIcon;
    }
}

void adaptActions(DesktopNotification &wire, const QVector<Button> &buttons)
{
    for (const Button &button : buttons) {
        wire.actions << button.key << button.label;
        if (button.key == inlineReplyKey() && !button.action.inputLabel.isEmpty()) {
            wire.hints.insert(hint::replyPlaceholder(), button.action.inputLabel);
        }
    }
}

/// Android's importance 4 is an ordinary chat message, while critical means elsewhere to break through "do not disturb"
/// and to stay until it is dismissed. That is right for alarms and calls.
void adaptCategory(DesktopNotification &wire, const NotificationContent &content, const Capabilities &server)
{
    const QString &name = content.category;
    QString category = name.isEmpty() ? name : QStringLiteral("x-") + name;
    QString sound;
    for (const Category &row : categories) {
        if (name == QLatin1String(row.name)) {
            category = QLatin1String(row.standard);
            sound = QLatin1String(row.sound);
        }
    }
    if (!category.isEmpty()) {
        wire.hints.insert(hint::category(), category);
    }
    const bool waits = name == QLatin1String("clock") || name == QLatin1String("call");
    wire.hints.insert(hint::urgency(),
                      QVariant::fromValue(static_cast<uchar>(waits ? content.urgency : std::min(content.urgency, 1))));
    const QVariant silent = content.hints.value(hint::suppressSound());
    if (silent.isValid()) {
        wire.hints.insert(hint::suppressSound(), silent);
    } else if (server.contains("sound") && !sound.isEmpty()) {
        wire.hints.insert(hint::soundName(), sound);
    }
}

} // namespace

void adaptToForeign(DesktopNotification &wire, const NotificationContent &content, const QVector<Button> &buttons,
                    const Capabilities &server)
{
    adaptTexts(wire, content, server);
    adaptPictures(wire, content, server);
    adaptActions(wire, buttons);
    adaptCategory(wire, content, server);
    // KDE's server reports a click on its close button like an expiry once the pop-up has gone into the list.
    const bool stays =
        (!server.contains("persistence") && server.contains("actions")) || server.contains(inlineReplyKey());
    wire.expireTimeout = content.transient ? protocol::transientMs : stays ? 0 : -1;
}
