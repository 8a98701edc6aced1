// SPDX-License-Identifier: MIT
#include "standins/notifications/wire.h"

#include "standins/notifications/foreign.h"
#include "standins/notifications/notification_p.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QFileInfo>
#include <QtCore/QLoggingCategory>
#include <QtCore/QUrl>
#include <QtDBus/QDBusMetaType>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <numeric>

Q_DECLARE_LOGGING_CATEGORY(vorn)

namespace hint = protocol::hint;

namespace
{

/// Icons travel as URIs or theme names. Encoded, since a file name may hold what means something in a URI.
QString iconUri(const QString &icon)
{
    return icon.startsWith(QLatin1Char('/')) ? QUrl::fromLocalFile(icon).toString(QUrl::FullyEncoded) : icon;
}

void insertProgress(QVariantMap &hints, const QVariant &progress)
{
    if (progress.isNull()) {
        return;
    }
    hints.insert(hint::progress(), progress);
    const double fraction = progress.toDouble();
    if (fraction >= 0) {
        hints.insert(hint::value(), static_cast<int>(std::lround(std::min(fraction, 1.0) * 100)));
    }
}

void insertText(QVariantMap &hints, const QString &hint, const QString &text)
{
    if (!text.isEmpty()) {
        hints.insert(hint, text);
    }
}

QVariantMap wireHints(const NotificationPrivate &notification)
{
    QVariantMap hints;
    hints.insert(hint::owner(), ownerName());
    hints.insert(hint::urgency(), QVariant::fromValue(static_cast<uchar>(notification.urgency)));
    insertText(hints, hint::category(), notification.category);
    insertText(hints, hint::imagePath(), iconUri(notification.icon));
    insertText(hints, hint::subText(), notification.subText);
    insertText(hints, hint::previewSummary(), notification.previewSummary);
    insertText(hints, hint::previewBody(), notification.previewBody);
    insertProgress(hints, notification.progress);
    if (notification.transient) {
        hints.insert(hint::transient(), true);
    }
    if (notification.resident) {
        hints.insert(hint::resident(), true);
    }
    if (notification.itemCount != 0) {
        hints.insert(hint::itemCount(), notification.itemCount);
    }
    if (notification.timestamp.isValid()) {
        hints.insert(hint::timestamp(), notification.timestamp.toMSecsSinceEpoch());
    }
    if (!notification.remoteActions.isEmpty()) {
        hints.insert(hint::remoteActions(), notification.remoteActions);
    }
    for (auto hint = notification.hints.cbegin(); hint != notification.hints.cend(); ++hint) {
        if (QDBusMetaType::typeToSignature(hint->userType())) {
            hints.insert(hint.key(), hint.value());
        } else {
            qCWarning(vorn) << "Hint" << hint.key() << "is of a type that D-Bus lacks";
        }
    }
    return hints;
}

/// An upper bound of the bytes that a value takes on the wire.
qint64 wireSize(const QVariant &value)
{
    constexpr qint64 overhead = 64; // lengths, signature, padding
    qint64 size = overhead + 3LL * (value.userType() == QMetaType::QString ? value.toString().size() : 0);
    const bool isMap = value.userType() == QMetaType::QVariantMap;
    const QVariantMap map = isMap ? value.toMap() : QVariantMap();
    for (auto member = map.cbegin(); member != map.cend(); ++member) {
        size += wireSize(member.key()) + wireSize(member.value());
    }
    const QVariantList list = isMap ? QVariantList() : value.toList();
    return std::accumulate(list.cbegin(), list.cend(), size,
                           [](qint64 sum, const QVariant &element) { return sum + wireSize(element); });
}

} // namespace

bool exceedsMessage(const DesktopNotification &wire)
{
    constexpr qint64 largestArray = 1LL << 26; // the protocol's; a message holds twice as much
    return wireSize(QVariantList{wire.appName, wire.appIcon, wire.summary, wire.body, wire.actions, wire.hints}) >
           largestArray;
}

ServerCapabilities ServerCapabilities::named(const QStringList &names)
{
    ServerCapabilities server;
    server.bodyMarkup = names.contains(QLatin1String("body-markup"));
    server.persistence = names.contains(QLatin1String("persistence"));
    server.ours = names.contains(QLatin1String("x-vorn-remote-actions"));
    server.inlineReply = names.contains(inlineReplyKey());
    // These came with the on-screen display of the volume. Servers that name the one draw a bar below the texts;
    // those that name the other take everything with a value for such a display, which has no texts.
    server.bar = names.contains(QLatin1String("x-canonical-private-synchronous"));
    server.bareGauge = names.contains(QLatin1String("x-canonical-private-icon-only"));
    return server;
}

/// Markup parsers refuse a text with control characters as a whole.
QString markup(const QString &text)
{
    QString printable;
    std::copy_if(text.cbegin(), text.cend(), std::back_inserter(printable),
                 [](QChar c) { return c.unicode() >= 0x20 || c == QLatin1Char('\n') || c == QLatin1Char('\t'); });
    return printable.toHtmlEscaped();
}

QString ownerName() { return QFileInfo(QCoreApplication::applicationFilePath()).fileName(); }

DesktopNotification toWire(const NotificationPrivate &notification, const ServerCapabilities &server)
{
    DesktopNotification wire;
    wire.id = notification.id;
    wire.appName = notification.appName;
    wire.appIcon = iconUri(notification.appIcon);
    // The protocol has no previews; a server that does not know ours must still show something.
    const bool preview = notification.summary.isEmpty();
    wire.summary = preview ? notification.previewSummary : notification.summary;
    const QString body = preview && notification.body.isEmpty() ? notification.previewBody : notification.body;
    wire.body = server.bodyMarkup ? markup(body) : body;
    for (const QVariant &description : notification.remoteActions) {
        const QVariantMap action = description.toMap();
        wire.actions << action.value(QStringLiteral("name")).toString()
                     << action.value(QStringLiteral("displayName")).toString();
    }
    wire.hints = wireHints(notification);
    if (!server.ours) {
        adaptToForeign(wire, notification, server);
    }
    // An Android notification stays until somebody removes it. Were it to expire, the application would be told
    // that the user dismissed it.
    wire.expireTimeout = notification.transient || server.persistence ? -1 : 0;
    return wire;
}

NotificationPrivate fromWire(const DesktopNotification &wire)
{
    NotificationPrivate notification;
    notification.id = wire.id;
    notification.appName = wire.appName;
    notification.appIcon = wire.appIcon;
    notification.summary = wire.summary;
    notification.body = wire.body;
    QVariantMap hints = wire.hints;
    hints.remove(hint::owner());
    notification.urgency = static_cast<Notification::Urgency>(
        std::clamp(hints.contains(hint::urgency()) ? hints.take(hint::urgency()).toInt() : 1, 0, 2));
    notification.category = hints.take(hint::category()).toString();
    notification.icon = hints.take(hint::imagePath()).toString();
    notification.subText = hints.take(hint::subText()).toString();
    notification.previewSummary = hints.take(hint::previewSummary()).toString();
    notification.previewBody = hints.take(hint::previewBody()).toString();
    notification.transient = hints.take(hint::transient()).toBool();
    notification.resident = hints.take(hint::resident()).toBool();
    notification.itemCount = hints.take(hint::itemCount()).toInt();
    notification.progress = hints.take(hint::progress());
    if (hints.contains(hint::timestamp())) {
        notification.timestamp = QDateTime::fromMSecsSinceEpoch(hints.take(hint::timestamp()).toLongLong());
    }
    notification.remoteActions = hints.take(hint::remoteActions()).toList();
    notification.hints = hints;
    return notification;
}
