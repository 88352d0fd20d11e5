#include "logger/RecentLines.h"

#include "logger/LogRecord.h"

#include <array>
#include <ctime>
#include <mutex>

namespace {

constexpr int longest = 500; // characters

struct Line
{
    timespec time{};
    int level = 0;
    QString text;
};

struct Lines
{
    std::mutex mutex;
    std::array<Line, 50> lines;
    std::size_t next = 0;
};

Lines &instance()
{
    // Never destroyed, like the logger.
    static Lines &lines = *new Lines;
    return lines;
}

} // namespace

void rememberLogLine(int level, const QString &text)
{
    Lines &recent = instance();
    const std::lock_guard<std::mutex> lock(recent.mutex);
    Line &line = recent.lines[recent.next];
    clock_gettime(CLOCK_REALTIME, &line.time);
    line.level = level;
    line.text = text.size() > longest ? text.left(longest) : text;
    recent.next = (recent.next + 1) % recent.lines.size();
}

QByteArrayList recentLogLines()
{
    Lines &recent = instance();
    const std::lock_guard<std::mutex> lock(recent.mutex);
    QByteArrayList texts;
    for (std::size_t i = 0; i < recent.lines.size(); ++i) {
        const Line &line = recent.lines[(recent.next + i) % recent.lines.size()];
        if (line.time.tv_sec != 0) {
            texts << record(line.level, oneLine(line.text), line.time);
            texts.last().chop(1);
        }
    }
    return texts;
}
