// SPDX-License-Identifier: MIT
#pragma once

#include "standins/protocol/desktopnotification.h"

/// A card for a terminal, some lines long, that shows what a screen would; texts cannot drive the terminal.
QString renderShown(const DesktopNotification &notification, bool replaced);
/// One line about a notification that has left the screen.
QString renderClosed(const DesktopNotification &notification, uint reason);
