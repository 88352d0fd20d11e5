#include "supervision/Parameters.h"

#include <jov/Log.h>

namespace {

constexpr int longestFallback = 7 * 24 * 3600;

/// A number from 0 to `largest`; nothing when the key is absent, or, with a warning, when it has another value.
std::optional<int> number(const QMap<QString, QString> &section, const QString &key, int base, int largest)
{
    const auto found = section.constFind(key);
    if (found == section.cend()) {
        return std::nullopt;
    }
    bool isNumber = false;
    const int value = found->trimmed().toInt(&isNumber, base);
    if (isNumber && value >= 0 && value <= largest) {
        return value;
    }
    Log::warning("platform.ini: %1=%2 is not valid, the default applies", key, *found);
    return std::nullopt;
}

} // namespace

Parameters Parameters::read(const QMap<QString, QString> &section)
{
    Parameters parameters;
    if (const std::optional<int> mask = number(section, QStringLiteral("module_umask"), 8, 0777)) {
        parameters.moduleUmask = mode_t(*mask);
    }
    parameters.rebootFallback = number(section, QStringLiteral("reboot_fallback"), 10, longestFallback);
    return parameters;
}
