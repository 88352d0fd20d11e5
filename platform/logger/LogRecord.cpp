#include "logger/LogRecord.h"

#include <jov/JovLogger.h>

#include <cerrno>
#include <ctime>

#include <syslog.h>

namespace {

const char *levelName(int level)
{
    switch (level) {
    case JovLogger::Emergency:
        return "emergency";
    case JovLogger::Error:
        return "error";
    case JovLogger::Warning:
        return "warning";
    case JovLogger::Info:
        return "info";
    default:
        return "debug";
    }
}

timespec thisMoment()
{
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return now;
}

struct Moment
{
    explicit Moment(const timespec &time = thisMoment())
        : now(time)
    {
        localtime_r(&now.tv_sec, &local);
    }
    [[nodiscard]] QByteArray as(const char *format) const
    {
        char text[32];
        return QByteArray(text, static_cast<int>(strftime(text, sizeof text, format, &local)));
    }

    const timespec now;
    tm local{};
};

} // namespace

QByteArray oneLine(const QString &text)
{
    constexpr int longest = 8192;
    int kept = qMin(text.size(), longest);
    if (kept < text.size() && text.at(kept - 1).isHighSurrogate()) {
        --kept;
    }
    QByteArray bytes = text.left(kept).toUtf8();
    bytes.replace('\n', "\\n");
    bytes.replace('\r', "\\r");
    if (kept < text.size()) {
        bytes += "... (" + QByteArray::number(text.size() - kept) + " more characters)";
    }
    return bytes;
}

QByteArray record(int level, const QByteArray &text)
{
    return record(level, text, thisMoment());
}

QByteArray record(int level, const QByteArray &text, const timespec &time)
{
    const Moment moment(time);
    const auto milliseconds = QByteArray::number(static_cast<int>(moment.now.tv_nsec / 1000000)).rightJustified(3, '0');
    return moment.as("%Y-%m-%dT%H:%M:%S.") + milliseconds + ' ' + levelName(level) + ' ' + text + '\n';
}

QByteArray syslogRecord(int level, const QByteArray &text)
{
    const Moment moment;
    // "%b" would name the month in the language of the locale.
    const QByteArray month = QByteArray("JanFebMarAprMayJunJulAugSepOctNovDec").mid(3 * moment.local.tm_mon, 3);
    return '<' + QByteArray::number(LOG_DAEMON | level) + '>' + month + moment.as(" %e %H:%M:%S ")
        + static_cast<const char *>(program_invocation_short_name) + ": " + text;
}
