// SPDX-License-Identifier: MIT
#pragma once

#include <QtCore/QStringList>

// Text for the standard output. A terminal gets colours, unless NO_COLOR is set.

enum class Style { Plain, Bold, Dim, Red, Green, Yellow, Blue };

/// The width of the terminal; 80 where there is none.
int columns();
QString styled(const QString &text, Style style);
/// Returns `text` on one line, without characters that move the cursor or turn the reading direction.
QString printable(const QString &text);
/// Makes `text` printable and cuts it into lines of at most `width` columns, at blanks if possible.
QStringList wrapped(const QString &text, int width);
/// Writes to the standard output at once. Prints an error, unless the reader has gone.
void print(const QString &text);
