// SPDX-License-Identifier: MIT
#pragma once

#include <QtCore/QString>

/// The hints that the plug-in sets on desktop notifications, with the type of their value.
namespace hint
{

/// The notification's key at the host, string.
inline QString originKey() { return QStringLiteral("x-vorn-origin-key"); }
/// The Android package of its application, string.
inline QString originPackage() { return QStringLiteral("x-vorn-origin-package"); }
/// Whether the user may dismiss it, boolean; true without this hint.
inline QString userRemovable() { return QStringLiteral("x-vorn-user-removable"); }
/// Names of sound and vibration patterns, string with commas.
inline QString feedback() { return QStringLiteral("x-vorn-feedback"); }
/// The application's colour, string: "#" with hexadecimal digits, or "auto".
inline QString color() { return QStringLiteral("x-vorn-color"); }
/// Whether it makes no sound, boolean; of the freedesktop.org protocol.
inline QString suppressSound() { return QStringLiteral("suppress-sound"); }
/// Whether it vibrates, boolean.
inline QString vibrate() { return QStringLiteral("x-vorn-vibrate"); }
/// Whether it switches the display on, boolean.
inline QString displayOn() { return QStringLiteral("x-vorn-display-on"); }
/// The colour in which the light blinks, 32-bit integer, ARGB.
inline QString ledArgb() { return QStringLiteral("x-vorn-led-argb"); }
/// Its rank among notifications, 32-bit integer: 25 for each step of Android's importance.
inline QString priority() { return QStringLiteral("x-vorn-priority"); }

} // namespace hint
