// SPDX-License-Identifier: MIT
#pragma once

#include "standins/protocol/desktopnotification.h"

/// A card of some lines, without the last line's end, that shows the notification on a terminal. Its texts cannot
/// control the terminal.
QString renderShown(const DesktopNotification &notification, bool replaced);
/// One line about a notification that has left the screen, for a reason of `protocol::CloseReason`.
QString renderClosed(const DesktopNotification &notification, uint reason);
