// SPDX-License-Identifier: MIT
#include "standins/terminal/text.h"

#include <QtCore/QVector>

#include <algorithm>
#include <cerrno>
#include <clocale>
#include <cstdio>
#include <cwchar>
#include <sys/ioctl.h>
#include <unistd.h>

namespace
{

constexpr ushort joiners[] = {0x200C, 0x200D}; // emoji and some scripts are written with them

bool isHarmful(QChar c)
{
    return (c.category() == QChar::Other_Control || c.category() == QChar::Other_Format ||
            c.category() == QChar::Separator_Line || c.category() == QChar::Separator_Paragraph) &&
           c != joiners[0] && c != joiners[1];
}

int columnsOf(uint character)
{
    // The widths are known in locales of UTF-8 only.
    static const char *const locale = std::setlocale(LC_CTYPE, "C.UTF-8"); // NOLINT(concurrency-mt-unsafe)
    const int width = locale ? wcwidth(static_cast<wchar_t>(character)) : 1;
    return width < 0 ? 1 : width;
}

void wrapParagraph(const QVector<uint> &text, int width, QStringList *lines)
{
    int begin = 0;
    int blank = -1; ///< where the line can be cut
    int column = 0;
    const auto cut = [&](int end, int next) {
        lines->append(QString::fromUcs4(text.data() + begin, end - begin));
        begin = next;
        blank = -1;
    };
    for (int i = 0; i < text.size(); ++i) {
        const int wide = columnsOf(text[i]);
        if (column + wide > width && i > begin && wide > 0) {
            blank > begin ? cut(blank, blank + 1) : cut(i, text[i] == ' ' ? i + 1 : i);
            column = 0;
            for (int j = begin; j < i; ++j) {
                column += columnsOf(text[j]);
            }
        }
        if (text[i] == ' ') {
            blank = i;
        }
        column += i < begin ? 0 : wide;
    }
    cut(text.size(), text.size());
}

} // namespace

int columns()
{
    winsize window = {};
    return ioctl(STDOUT_FILENO, TIOCGWINSZ, &window) == 0 && window.ws_col > 0 ? window.ws_col : 80;
}

QString styled(const QString &text, Style style)
{
    static constexpr const char *codes[] = {"0", "1", "2", "31;1", "32", "33", "34"};
    static const bool colours = isatty(STDOUT_FILENO) == 1 && qEnvironmentVariableIsEmpty("NO_COLOR");
    if (!colours || style == Style::Plain || text.isEmpty()) {
        return text;
    }
    return QStringLiteral("\x1b[%1m%2\x1b[0m").arg(QLatin1String(codes[static_cast<int>(style)]), text);
}

QString printable(const QString &text)
{
    QString safe = text;
    std::replace_if(safe.begin(), safe.end(), isHarmful, QChar(QChar::ReplacementCharacter));
    return safe;
}

QStringList wrapped(const QString &text, int width)
{
    QStringList lines;
    const QVector<QStringRef> paragraphs = text.splitRef(QLatin1Char('\n'));
    for (const QStringRef &paragraph : paragraphs) {
        wrapParagraph(printable(paragraph.toString()).toUcs4(), width, &lines);
    }
    return lines;
}

void print(const QString &text)
{
    const QByteArray bytes = text.toUtf8();
    const auto size = static_cast<size_t>(bytes.size());
    if ((std::fwrite(bytes.constData(), 1, size, stdout) < size || std::fflush(stdout) != 0) && errno != EPIPE) {
        std::perror("standard output");
    }
}
