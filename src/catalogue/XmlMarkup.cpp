#include "catalogue/XmlMarkup.h"

namespace {

constexpr int maxAttributes = 1024; // of one element
constexpr int maxDeclarations = 64 * 1024; // bytes

bool isLetter(char character)
{
    return (character >= 'A' && character <= 'Z') || (character >= 'a' && character <= 'z');
}

// The quoted values from the "<" at `start` to its ">".
int countAttributes(const QByteArray &text, int start, int end)
{
    char quote = 0;
    int attributes = 0;
    for (int i = start; i < end; ++i) {
        const char character = text.at(i);
        if (quote != 0) {
            quote = character == quote ? char(0) : quote;
        } else if (character == '>') {
            break;
        } else if (character == '"' || character == '\'') {
            quote = character;
            ++attributes;
        }
    }
    return attributes;
}

} // namespace

QString xmlMarkupExcess(const QByteArray &text)
{
    // A text in 16 bits has a NUL beside every character of its markup.
    QByteArray markup = text;
    markup.replace('\0', "");
    int declarations = 0;
    int end = 0;
    // A "<" is never part of an attribute's value, so it always begins something new.
    for (int start = markup.indexOf('<'); start >= 0 && start < markup.size(); start = end) {
        const int next = markup.indexOf('<', start + 1);
        end = next < 0 ? markup.size() : next;
        const char kind = start + 1 < end ? markup.at(start + 1) : '?';
        if (kind == '!' && start + 2 < end && isLetter(markup.at(start + 2))) {
            declarations += end - start;
        } else if (kind != '!' && kind != '?' && countAttributes(markup, start, end) > maxAttributes) {
            return QStringLiteral("an element has too many attributes");
        }
    }
    return declarations > maxDeclarations ? QStringLiteral("too many declarations") : QString();
}
