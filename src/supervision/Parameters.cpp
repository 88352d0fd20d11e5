#include "supervision/Parameters.h"

#include "history/HistoryText.h"

#include <jov/Log.h>

#include <limits>

namespace {

constexpr int longestFallback = 7 * 24 * 3600;
constexpr int smallestHistory = 64; // kB: each of the two files has room for the longest record
constexpr int largestHistory = 65536;

struct Range
{
    int smallest;
    int largest;
};

/// A number in the range; nothing when the key is absent, or when it has another value, which is refused.
std::optional<int> number(const QMap<QString, QString> &section, const QString &key, int base, Range range,
                          const Parameters::Refusal &refused)
{
    const auto found = section.constFind(key);
    if (found == section.cend()) {
        return std::nullopt;
    }
    bool isNumber = false;
    const int value = found->trimmed().toInt(&isNumber, base);
    if (isNumber && value >= range.smallest && value <= range.largest) {
        return value;
    }
    refused(key, *found);
    return std::nullopt;
}

OutputSetting outputOf(const QMap<QString, QString> &section, const Parameters::Refusal &refused)
{
    const QString key = QStringLiteral("module_output");
    const QString pathKey = QStringLiteral("module_output_path");
    const QString text = section.value(key, QStringLiteral("none")).trimmed();
    QString path = section.value(pathKey).trimmed();
    if (!path.isEmpty() && !path.startsWith(QLatin1Char('/'))) {
        refused(pathKey, path);
        path.clear();
    }
    const std::optional<OutputSetting> setting = OutputSetting::parse(text, path);
    if (!setting) {
        refused(key, text);
    }
    return setting.value_or(OutputSetting());
}

} // namespace

Parameters Parameters::read(const QMap<QString, QString> &section, const Refusal &refused)
{
    Parameters parameters;
    if (const std::optional<int> mask = number(section, QStringLiteral("module_umask"), 8, {0, 0777}, refused)) {
        parameters.moduleUmask = mode_t(*mask);
    }
    parameters.rebootFallback = number(section, QStringLiteral("reboot_fallback"), 10, {0, longestFallback}, refused);
    parameters.historyFile = HistoryText::pathOf(section);
    parameters.historySize =
        number(section, QStringLiteral("history_size"), 10, {smallestHistory, largestHistory}, refused)
            .value_or(parameters.historySize);
    parameters.moduleOutput = outputOf(section, refused);
    parameters.launchesAhead =
        number(section, QStringLiteral("launches_ahead"), 10, {1, std::numeric_limits<int>::max()}, refused)
            .value_or(parameters.launchesAhead);
    return parameters;
}

QStringList Parameters::keys()
{
    return {QStringLiteral("history_file"),    QStringLiteral("history_size"),       QStringLiteral("launches_ahead"),
            QStringLiteral("module_output"),   QStringLiteral("module_output_path"), QStringLiteral("module_umask"),
            QStringLiteral("no_webapp_timer"), QStringLiteral("reboot_fallback"),    QStringLiteral("watchdog_device")};
}

void Parameters::warn(const QString &key, const QString &value)
{
    Log::warning("platform.ini: %1=%2 is not valid, the default applies", key, value);
}
