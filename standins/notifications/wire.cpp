// SPDX-License-Identifier: MIT
#include "standins/notifications/wire.h"

#include <QtCore/QFile>
#include <QtCore/QUrl>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <numeric>

namespace hint = protocol::hint;

namespace
{

/// Icons travel as URIs or theme names. They are encoded, since file names may hold characters with a meaning in URIs.
QString iconUri(const QString &icon)
{
    return icon.startsWith(QLatin1Char('/')) ? QUrl::fromLocalFile(icon).toString(QUrl::FullyEncoded) : icon;
}

void insertIf(bool wanted, QVariantMap &hints, const QString &hint, const QVariant &value)
{
    if (wanted) {
        hints.insert(hint, value);
    }
}

void insertText(QVariantMap &hints, const QString &hint, const QString &text)
{
    insertIf(!text.isEmpty(), hints, hint, text);
}

/// The hints that are the same for all servers.
void insertCommonHints(QVariantMap &hints, const NotificationContent &content)
{
    const double fraction = content.progress.toDouble();
    if (!content.progress.isNull() && fraction >= 0) {
        hints.insert(hint::value(), static_cast<int>(std::lround(std::min(fraction, 1.0) * 100)));
    }
    insertIf(content.transient, hints, hint::transient(), true);
    insertIf(content.resident, hints, hint::resident(), true);
}

/// Adds the actions, and hints that servers of another kind do not know or want in another way.
void adaptToOurs(DesktopNotification &wire, const NotificationContent &content)
{
    QVariantMap &hints = wire.hints;
    hints.insert(hint::owner(), ownerName());
    hints.insert(hint::urgency(), QVariant::fromValue(static_cast<uchar>(content.urgency)));
    insertText(hints, hint::category(), content.category);
    insertText(hints, hint::imagePath(), iconUri(content.icon));
    insertText(hints, hint::subText(), content.subText);
    insertText(hints, hint::previewSummary(), content.previewSummary);
    insertText(hints, hint::previewBody(), content.previewBody);
    insertIf(!content.progress.isNull(), hints, hint::progress(), content.progress);
    insertIf(content.itemCount != 0, hints, hint::itemCount(), content.itemCount);
    insertIf(content.timestamp.isValid(), hints, hint::timestamp(), content.timestamp.toMSecsSinceEpoch());
    if (!content.remoteActions.isEmpty()) {
        hints.insert(hint::remoteActions(), remoteActionsText(content.remoteActions));
    }
    for (const QVariant &description : content.remoteActions) {
        const auto action = description.value<RemoteAction>();
        wire.actions << action.name << action.displayName;
    }
}

} // namespace

bool exceedsMessage(const DesktopNotification &wire)
{
    constexpr qint64 largestArray = 1LL << 26; // the protocol's; a message holds twice as much
    constexpr qint64 overhead = 64;            // of a text: its length, the hint's name, padding
    QStringList texts = {wire.appName, wire.appIcon, wire.summary, wire.body};
    texts += wire.actions;
    for (const QVariant &value : wire.hints) { // of another type, no hint is large
        if (value.userType() == QMetaType::QString) {
            texts += value.toString();
        }
    }
    return std::accumulate(texts.cbegin(), texts.cend(), 0LL, [](qint64 sum, const QString &text) {
               return sum + overhead + 3LL * text.size();
           }) > largestArray;
}

/// Not asked of the application object, which there may not be, nor of the file system, where the program may be
/// replaced while it runs.
QString ownerName()
{
    const QString name = QFile::decodeName(program_invocation_short_name);
    return name.isEmpty() ? QStringLiteral("unnamed") : name;
}

DesktopNotification toWire(const NotificationContent &content, uint replacesId, const QVector<Button> &buttons,
                           const Capabilities &server)
{
    DesktopNotification wire;
    wire.id = replacesId;
    wire.appName = content.appName;
    wire.appIcon = iconUri(content.appIcon);
    // The protocol has no previews; a server that does not know ours must still show something.
    const bool preview = content.summary.isEmpty();
    wire.summary = preview ? content.previewSummary : content.summary;
    wire.body = preview && content.body.isEmpty() ? content.previewBody : content.body;
    wire.hints = server.isOurs() ? content.hints : QVariantMap();
    insertCommonHints(wire.hints, content);
    if (server.isOurs()) {
        adaptToOurs(wire, content);
    } else {
        adaptToForeign(wire, content, buttons, server);
    }
    return wire;
}
