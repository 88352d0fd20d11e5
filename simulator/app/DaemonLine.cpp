#include "DaemonLine.h"

#include <QRegularExpression>

namespace {

struct Pattern
{
    DaemonLine::Kind kind;
    const char *expression; ///< the first group is the name, the second the number or the other name
};

const Pattern patterns[] = {
    {DaemonLine::Kind::Launched, R"(^\[Module\] PID of :(.*) : (\d+)$)"},
    {DaemonLine::Kind::LaunchFailed, R"(^\[Module\] launch error :.* exec : .*/([^/]*)$)"},
    {DaemonLine::Kind::StartFailed, R"(^\[Module\] start (.*) ret false \[stopped\])"},
    {DaemonLine::Kind::StepStarted, R"(^\[InitStep\] step (.*) started in (\d+)$)"},
    {DaemonLine::Kind::Stopped, R"(^\[Module\] stop (.*) done in (\d+) ms$)"},
    {DaemonLine::Kind::Crashed, R"(^Terminal will reboot now: (.*) crashed$)"},
    {DaemonLine::Kind::Blocked, R"(^\[InitStep\]Cannot be started: (.*) because of (.*)$)"},
    {DaemonLine::Kind::Usual, R"(^No Step file$)"},
};

} // namespace

DaemonLine DaemonLine::parse(const QString &line)
{
    DaemonLine parsed;
    parsed.time = QDateTime::fromString(line.section(QLatin1Char(' '), 0, 0), Qt::ISODateWithMs);
    parsed.level = line.section(QLatin1Char(' '), 1, 1);
    parsed.text = line.section(QLatin1Char(' '), 2);
    for (const Pattern &pattern : patterns) {
        const auto match = QRegularExpression(QLatin1String(pattern.expression)).match(parsed.text);
        if (match.hasMatch()) {
            parsed.kind = pattern.kind;
            parsed.name = match.captured(1);
            parsed.other = match.captured(2);
            parsed.number = parsed.other.toInt();
            return parsed;
        }
    }
    for (const char *level : {"emergency", "error", "warning"}) {
        if (parsed.level == QLatin1String(level)) {
            parsed.kind = Kind::Complaint;
        }
    }
    return parsed;
}
