#include "wire.h"

#include "foreign.h"
#include "notification_p.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QFileInfo>
#include <QtCore/QLoggingCategory>
#include <QtCore/QUrl>
#include <QtDBus/QDBusMetaType>

#include <algorithm>
#include <cmath>
#include <iterator>

Q_DECLARE_LOGGING_CATEGORY(vorn)

namespace
{

QString urgencyHint() { return QStringLiteral("urgency"); }
QString categoryHint() { return QStringLiteral("category"); }
QString transientHint() { return QStringLiteral("transient"); }
QString residentHint() { return QStringLiteral("resident"); }
QString imagePathHint() { return QStringLiteral("image-path"); }

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
    hints.insert(protocol::progressHint(), progress);
    const double fraction = progress.toDouble();
    if (fraction >= 0) {
        hints.insert(QStringLiteral("value"), static_cast<int>(std::lround(std::min(fraction, 1.0) * 100)));
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
    hints.insert(protocol::ownerHint(), ownerName());
    hints.insert(urgencyHint(), QVariant::fromValue(static_cast<uchar>(notification.urgency)));
    insertText(hints, categoryHint(), notification.category);
    insertText(hints, imagePathHint(), iconUri(notification.icon));
    insertText(hints, protocol::subTextHint(), notification.subText);
    insertText(hints, protocol::previewSummaryHint(), notification.previewSummary);
    insertText(hints, protocol::previewBodyHint(), notification.previewBody);
    insertProgress(hints, notification.progress);
    if (notification.transient) {
        hints.insert(transientHint(), true);
    }
    if (notification.resident) {
        hints.insert(residentHint(), true);
    }
    if (notification.itemCount != 0) {
        hints.insert(protocol::itemCountHint(), notification.itemCount);
    }
    if (notification.timestamp.isValid()) {
        hints.insert(protocol::timestampHint(), notification.timestamp.toMSecsSinceEpoch());
    }
    if (!notification.remoteActions.isEmpty()) {
        hints.insert(protocol::remoteActionsHint(), notification.remoteActions);
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

} // namespace

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
    hints.remove(protocol::ownerHint());
    notification.urgency = static_cast<Notification::Urgency>(
        std::clamp(hints.contains(urgencyHint()) ? hints.take(urgencyHint()).toInt() : 1, 0, 2));
    notification.category = hints.take(categoryHint()).toString();
    notification.icon = hints.take(imagePathHint()).toString();
    notification.subText = hints.take(protocol::subTextHint()).toString();
    notification.previewSummary = hints.take(protocol::previewSummaryHint()).toString();
    notification.previewBody = hints.take(protocol::previewBodyHint()).toString();
    notification.transient = hints.take(transientHint()).toBool();
    notification.resident = hints.take(residentHint()).toBool();
    notification.itemCount = hints.take(protocol::itemCountHint()).toInt();
    notification.progress = hints.take(protocol::progressHint());
    if (hints.contains(protocol::timestampHint())) {
        notification.timestamp = QDateTime::fromMSecsSinceEpoch(hints.take(protocol::timestampHint()).toLongLong());
    }
    notification.remoteActions = hints.take(protocol::remoteActionsHint()).toList();
    notification.hints = hints;
    return notification;
}
