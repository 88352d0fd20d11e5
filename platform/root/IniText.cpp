#include "root/IniText.h"

#include <cctype>

namespace {

constexpr int octal = 8;
constexpr int hexadecimal = 16;

int digitOf(char character)
{
    static const QByteArray digits = "0123456789abcdef";
    const int digit = digits.indexOf(char(std::tolower(uchar(character))));
    return digit < 0 ? hexadecimal : digit;
}

// The character that the digits from `position` on stand for, as QSettings cuts it to 16 bits.
ushort numbered(const QByteArray &text, int &position, int base)
{
    uint code = 0;
    for (; position < text.size() && digitOf(text.at(position)) < base; ++position) {
        code = code * uint(base) + uint(digitOf(text.at(position)));
    }
    return ushort(code);
}

// What the escape behind a backslash stands for; 0 for what cannot be part of a word.
ushort escaped(const QByteArray &text, int &position)
{
    if (digitOf(text.at(position)) < octal) {
        return numbered(text, position, octal);
    }
    return text.at(position++) == 'x' ? numbered(text, position, hexadecimal) : ushort(0);
}

// The text as its values are read, and without all that can stand between the letters of a word and be left out.
QByteArray words(const QByteArray &text)
{
    QByteArray result;
    result.reserve(text.size());
    for (int position = 0; position < text.size();) {
        ushort character = uchar(text.at(position++));
        if (character == '\\' && position < text.size()) {
            character = escaped(text, position);
        }
        if (character > ' ' && character < 0x7f && character != '"') {
            result.append(char(character));
        }
    }
    return result;
}

} // namespace

bool iniTextHoldsObjects(const QByteArray &text)
{
    const QByteArray read = words(text);
    return read.contains("@Variant(") || read.contains("@DateTime(");
}
