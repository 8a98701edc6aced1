// SPDX-License-Identifier: MIT
#pragma once

#include "standins/protocol/desktopnotification.h"

// What is rendered suits the standard output: as wide as it is, with colours on a terminal unless NO_COLOR is set.

/// Writes to the standard output at once; complains unless it is just that nobody reads any more.
void print(const QString &text);
/// A card for a terminal, some lines long, that shows what a screen would. Texts cannot drive the terminal.
QString renderShown(const DesktopNotification &notification, bool replaced);
/// One line about a notification that has left the screen.
QString renderClosed(uint id, const QString &summary, uint reason);
/// `text` without control characters, on one line.
QString printable(const QString &text);
