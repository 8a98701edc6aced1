#pragma once

#include "desktopnotification.h"

struct RenderOptions {
    bool colour = false;
    int width = 72; ///< columns
};

/// A card for a terminal, some lines long, that shows what a screen would. Texts cannot drive the terminal.
QString renderShown(const DesktopNotification &notification, bool replaced, const RenderOptions &options);
/// One line about a notification that has left the screen.
QString renderClosed(uint id, const QString &summary, uint reason, const RenderOptions &options);
/// `text` without control characters, on one line.
QString printable(const QString &text);
