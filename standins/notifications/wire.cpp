// SPDX-License-Identifier: MIT
#include "standins/notifications/wire.h"

#include "standins/notifications/foreign.h"

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

void insertStandardHints(QVariantMap &hints, const NotificationContent &content)
{
    hints.insert(hint::urgency(), QVariant::fromValue(static_cast<uchar>(content.urgency)));
    insertText(hints, hint::category(), content.category);
    insertText(hints, hint::imagePath(), iconUri(content.icon));
    const double fraction = content.progress.toDouble();
    if (!content.progress.isNull() && fraction >= 0) {
        hints.insert(hint::value(), static_cast<int>(std::lround(std::min(fraction, 1.0) * 100)));
    }
    insertIf(content.transient, hints, hint::transient(), true);
    insertIf(content.resident, hints, hint::resident(), true);
    insertIf(content.hints.contains(hint::suppressSound()), hints, hint::suppressSound(),
             content.hints.value(hint::suppressSound()));
}

/// Servers of another kind do not know these hints.
void insertOwnHints(QVariantMap &hints, const NotificationContent &content)
{
    hints.insert(hint::owner(), ownerName());
    insertText(hints, hint::subText(), content.subText);
    insertText(hints, hint::previewSummary(), content.previewSummary);
    insertText(hints, hint::previewBody(), content.previewBody);
    insertIf(!content.progress.isNull(), hints, hint::progress(), content.progress);
    insertIf(content.itemCount != 0, hints, hint::itemCount(), content.itemCount);
    insertIf(content.timestamp.isValid(), hints, hint::timestamp(), content.timestamp.toMSecsSinceEpoch());
    if (!content.remoteActions.isEmpty()) {
        hints.insert(hint::remoteActions(), remoteActionsText(content.remoteActions));
    }
    for (auto own = content.hints.cbegin(); own != content.hints.cend(); ++own) {
        hints.insert(own.key(), own.value());
    }
}

/// An upper bound of the bytes that a value takes on the wire. Nearly all values are plain ones.
qint64 wireSize(const QVariant &value)
{
    constexpr qint64 overhead = 64; // lengths, signature, padding
    const auto sizeOfList = [](const auto &list) {
        return std::accumulate(list.cbegin(), list.cend(), overhead,
                               [](qint64 sum, const QVariant &element) { return sum + wireSize(element); });
    };
    switch (value.userType()) {
    case QMetaType::QString:
        return overhead + 3LL * static_cast<const QString *>(value.constData())->size();
    case QMetaType::QVariantList:
    case QMetaType::QStringList:
        return sizeOfList(value.toList());
    case QMetaType::QVariantMap: {
        const QVariantMap map = value.toMap();
        return sizeOfList(map.keys()) + sizeOfList(map);
    }
    default:
        return overhead;
    }
}

} // namespace

bool exceedsMessage(const DesktopNotification &wire)
{
    constexpr qint64 largestArray = 1LL << 26; // the protocol's; a message holds twice as much
    const QString *const texts[] = {&wire.appName, &wire.appIcon, &wire.summary, &wire.body};
    qint64 size = 0;
    for (const QString *const text : texts) {
        size += 3LL * text->size();
    }
    return size + wireSize(wire.actions) + wireSize(wire.hints) > largestArray;
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
    insertStandardHints(wire.hints, content);
    if (server.isOurs()) {
        insertOwnHints(wire.hints, content);
        for (const QVariant &description : content.remoteActions) {
            const auto action = description.value<RemoteAction>();
            wire.actions << action.name << action.displayName;
        }
    } else {
        adaptToForeign(wire, content, buttons, server);
    }
    return wire;
}
