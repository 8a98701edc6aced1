// SPDX-License-Identifier: MIT
#pragma once

#include "standins/protocol/desktopnotification.h"

/// A card for a terminal, some lines long, that shows what a screen would; texts cannot drive the terminal. The hints
/// are as `plainMap` makes them. `label` stands before the application's name, for whom it helps.
QString renderShown(const DesktopNotification &notification, bool replaced, const QString &label = {});
/// One line about a notification that has left the screen.
QString renderClosed(const DesktopNotification &notification, uint reason, const QString &label = {});
