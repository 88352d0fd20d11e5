#include "client/TextWidth.h"

#include "client/Console.h"

#include <QChar>

#include <algorithm>
#include <iterator>

namespace {

struct Range
{
    uint first;
    uint last;
};

// The blocks that terminals draw two cells wide, in ascending order.
constexpr Range wide[] = {{0x1100, 0x115f},   {0x2e80, 0x303e},   {0x3041, 0x33ff},   {0x3400, 0x4dbf},
                          {0x4e00, 0x9fff},   {0xa000, 0xa4cf},   {0xa960, 0xa97f},   {0xac00, 0xd7a3},
                          {0xf900, 0xfaff},   {0xfe30, 0xfe6f},   {0xff00, 0xff60},   {0xffe0, 0xffe6},
                          {0x1f300, 0x1f64f}, {0x1f680, 0x1f6ff}, {0x1f900, 0x1f9ff}, {0x20000, 0x3fffd}};

bool isWide(uint character)
{
    const auto *range = std::lower_bound(std::begin(wide), std::end(wide), character,
                                         [](const Range &candidate, uint value) { return candidate.last < value; });
    return range != std::end(wide) && range->first <= character;
}

int cells(uint character)
{
    switch (QChar::category(character)) {
    case QChar::Mark_NonSpacing:
    case QChar::Mark_Enclosing:
    case QChar::Other_Format:
    case QChar::Other_Control:
        return 0;
    default:
        return isWide(character) ? 2 : 1;
    }
}

/// The character at `position`, which then moves to the next; half a surrogate pair is a character of its own.
uint next(const QString &text, int &position)
{
    const QChar character = text.at(position++);
    if (character.isHighSurrogate() && position < text.size() && text.at(position).isLowSurrogate()) {
        return QChar::surrogateToUcs4(character, text.at(position++));
    }
    return character.unicode();
}

} // namespace

int textWidth(const QString &text)
{
    int width = 0;
    for (int position = 0; position < text.size();) {
        width += cells(next(text, position));
    }
    return width;
}

QString shortened(const QString &text, int width)
{
    if (textWidth(text) <= width) {
        return text;
    }
    const QString mark = Console::isPlain() ? QStringLiteral("...") : QString(QChar(0x2026));
    int end = 0;
    int filled = 0;
    for (int position = 0; position < text.size(); end = position) {
        filled += cells(next(text, position));
        if (filled > width - mark.size()) {
            break;
        }
    }
    return text.left(end) + mark;
}
