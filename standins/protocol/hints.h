// SPDX-License-Identifier: MIT
#pragma once

#include <QtCore/QStringList>

/// The hints of a notification, with the type of their value: those of freedesktop.org Desktop Notifications 1.2, those
/// that several desktops have in common, and our own.
namespace protocol::hint
{

// The protocol's

/// byte: 0 low, 1 normal, 2 critical
inline QString urgency() { return QStringLiteral("urgency"); }
/// string, from the protocol's list or beginning with "x-"
inline QString category() { return QStringLiteral("category"); }
/// boolean: the server shows it and does not keep it
inline QString transient() { return QStringLiteral("transient"); }
/// boolean: stays after one of its actions was invoked
inline QString resident() { return QStringLiteral("resident"); }
/// boolean
inline QString suppressSound() { return QStringLiteral("suppress-sound"); }
/// string: absolute path, `file:` URI or name in the icon theme
inline QString imagePath() { return QStringLiteral("image-path"); }

/// string, from the sound naming specification
inline QString soundName() { return QStringLiteral("sound-name"); }
/// The name of `imagePath()` in version 1.1
inline QString oldImagePath() { return QStringLiteral("image_path"); }
// Of several desktops

/// 32-bit integer: progress in percent
inline QString value() { return QStringLiteral("value"); }
/// string: the account or device that it comes from
inline QString originName() { return QStringLiteral("x-kde-origin-name"); }
/// string: the application, if that is not the program that notifies
inline QString displayAppName() { return QStringLiteral("x-kde-display-appname"); }
/// string: shown in the field for an answer while that is empty
inline QString replyPlaceholder() { return QStringLiteral("x-kde-reply-placeholder-text"); }

// Our own

/// string: the publishing program
inline QString owner() { return QStringLiteral("x-vorn-owner"); }
/// string: the actions' D-Bus methods as JSON, a list of objects with the members "name", "displayName", "service",
/// "path", "interface", "method", "arguments" (strings) and, for an action that takes text, "input": an object of
/// "label", "freeInput" (boolean) and "choices" (strings). Also the capability to call them.
inline QString remoteActions() { return QStringLiteral("x-vorn-remote-actions"); }
/// string
inline QString subText() { return QStringLiteral("x-vorn-sub-text"); }
/// string: shown by a short pop-up instead of the summary
inline QString previewSummary() { return QStringLiteral("x-vorn-preview-summary"); }
/// string: shown by a short pop-up instead of the body
inline QString previewBody() { return QStringLiteral("x-vorn-preview-body"); }
/// 32-bit integer
inline QString itemCount() { return QStringLiteral("x-vorn-item-count"); }
/// 64-bit integer: milliseconds since the Unix epoch
inline QString timestamp() { return QStringLiteral("x-vorn-timestamp"); }
/// The progress as it was set: a double, or the 32-bit integer -1 for unknown extent
inline QString progress() { return QStringLiteral("x-vorn-progress"); }
/// string: the Android notification's key
inline QString originKey() { return QStringLiteral("x-vorn-origin-key"); }
/// boolean: whether the user may dismiss it; true where it is absent
inline QString userRemovable() { return QStringLiteral("x-vorn-user-removable"); }

} // namespace protocol::hint
