#include "qtdbus/MatchText.h"

#include <QString>

#include <algorithm>

namespace {

constexpr int longestInRule = 255;

} // namespace

bool fitsMatchRule(const QString &text)
{
    // Not by a regular expression: its compiler would leave the process a page that is writable and executable.
    const auto isPlain = [](QChar character) {
        const char16_t code = character.unicode();
        return (code >= 'a' && code <= 'z') || (code >= 'A' && code <= 'Z') || (code >= '0' && code <= '9')
            || code == '_' || code == '.' || code == '-';
    };
    return !text.isEmpty() && text.size() <= longestInRule && std::all_of(text.begin(), text.end(), isPlain);
}
