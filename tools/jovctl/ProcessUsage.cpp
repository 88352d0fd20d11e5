#include "jovctl/ProcessUsage.h"

#include <QFile>
#include <QList>

#include <unistd.h>

namespace {

// Fields of the file, counted from the one behind the name.
constexpr int userTime = 11;
constexpr int systemTime = 12;
constexpr int threadCount = 17;
constexpr int virtualBytes = 20;
constexpr int residentPages = 21;

} // namespace

std::optional<ProcessUsage> ProcessUsage::parse(const QByteArray &text)
{
    // The name stands in parentheses and may hold anything, blanks and parentheses too.
    const int end = text.lastIndexOf(')');
    const QList<QByteArray> fields = text.mid(end + 2).split(' ');
    if (end < 0 || fields.size() <= residentPages) {
        return std::nullopt;
    }
    ProcessUsage usage;
    const quint64 ticks = fields.at(userTime).toULongLong() + fields.at(systemTime).toULongLong();
    usage.microseconds = ticks * 1000000 / quint64(sysconf(_SC_CLK_TCK));
    usage.threads = fields.at(threadCount).toInt();
    usage.virtualKb = fields.at(virtualBytes).toLongLong() / 1024;
    usage.residentKb = fields.at(residentPages).toLongLong() * (sysconf(_SC_PAGESIZE) / 1024);
    return usage;
}

std::optional<ProcessUsage> ProcessUsage::read(uint pid)
{
    QFile file(QStringLiteral("/proc/%1/stat").arg(pid));
    if (pid == 0 || !file.open(QIODevice::ReadOnly)) {
        return std::nullopt;
    }
    return parse(file.readAll());
}

qint64 totalMemoryKb()
{
    return qint64(sysconf(_SC_PHYS_PAGES)) * (sysconf(_SC_PAGESIZE) / 1024);
}
