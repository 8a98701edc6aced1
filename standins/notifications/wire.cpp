// SPDX-License-Identifier: MIT
#include "standins/notifications/wire.h"

#include "standins/notifications/foreign.h"

#include <QtCore/QFile>
#include <QtCore/QLoggingCategory>
#include <QtCore/QUrl>
#include <QtDBus/QDBusMetaType>

#include <algorithm>
#include <cerrno>
#include <cmath>
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

void insertText(QVariantMap &hints, const QString &hint, const QString &text)
{
    if (!text.isEmpty()) {
        hints.insert(hint, text);
    }
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
    if (content.transient) {
        hints.insert(hint::transient(), true);
    }
    if (content.resident) {
        hints.insert(hint::resident(), true);
    }
    if (content.hints.contains(hint::suppressSound())) {
        hints.insert(hint::suppressSound(), content.hints.value(hint::suppressSound()));
    }
}

/// What another server would not know.
void insertOwnHints(QVariantMap &hints, const NotificationContent &content)
{
    hints.insert(hint::owner(), ownerName());
    insertText(hints, hint::subText(), content.subText);
    insertText(hints, hint::previewSummary(), content.previewSummary);
    insertText(hints, hint::previewBody(), content.previewBody);
    if (!content.progress.isNull()) {
        hints.insert(hint::progress(), content.progress);
    }
    if (content.itemCount != 0) {
        hints.insert(hint::itemCount(), content.itemCount);
    }
    if (content.timestamp.isValid()) {
        hints.insert(hint::timestamp(), content.timestamp.toMSecsSinceEpoch());
    }
    if (!content.remoteActions.isEmpty()) {
        hints.insert(hint::remoteActions(), remoteActionsText(content.remoteActions));
    }
    for (auto own = content.hints.cbegin(); own != content.hints.cend(); ++own) {
        if (QDBusMetaType::typeToSignature(own->userType())) {
            hints.insert(own.key(), own.value());
        } else {
            qCWarning(vorn) << "Hint" << own.key() << "is of a type that D-Bus lacks";
        }
    }
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

/// Not asked of the application object, which there may not be, nor of the file system, where the program may be
/// replaced while it runs.
QString ownerName()
{
    const QString name = QFile::decodeName(program_invocation_short_name);
    return name.isEmpty() ? QStringLiteral("unnamed") : name;
}

DesktopNotification toWire(const NotificationContent &content, uint replacesId, const Capabilities &server)
{
    DesktopNotification wire;
    wire.id = replacesId;
    wire.appName = content.appName;
    wire.appIcon = iconUri(content.appIcon);
    // The protocol has no previews; a server that does not know ours must still show something.
    const bool preview = content.summary.isEmpty();
    wire.summary = preview ? content.previewSummary : content.summary;
    wire.body = preview && content.body.isEmpty() ? content.previewBody : content.body;
    for (const QVariant &description : content.remoteActions) {
        const QVariantMap action = description.toMap();
        wire.actions << action.value(QStringLiteral("name")).toString()
                     << action.value(QStringLiteral("displayName")).toString();
    }
    insertStandardHints(wire.hints, content);
    if (server.isOurs()) {
        insertOwnHints(wire.hints, content);
    } else {
        adaptToForeign(wire, content, server);
    }
    return wire;
}
