#include "jovctl/ProcessUsage.h"

#include "system/ProcStat.h"
#include "system/RegularFile.h"

#include <QByteArrayList>

#include <unistd.h>

std::optional<ProcessUsage> ProcessUsage::read(uint pid)
{
    const std::optional<ProcStat> stat = ProcStat::read(pid_t(pid));
    if (!stat) {
        return std::nullopt;
    }
    ProcessUsage usage;
    usage.microseconds = quint64(stat->ownTicks) * 1000000 / quint64(sysconf(_SC_CLK_TCK));
    usage.threads = stat->threads;
    usage.virtualKb = stat->virtualBytes / 1024;
    usage.residentKb = stat->residentPages * (sysconf(_SC_PAGESIZE) / 1024);
    return usage;
}

qint64 availableMemoryKb()
{
    const QByteArray text = RegularFile(QStringLiteral("/proc/meminfo")).read(4096).value_or(QByteArray());
    const QByteArray key("\nMemAvailable:");
    const int found = text.indexOf(key);
    return found < 0 ? 0 : text.mid(found + key.size()).simplified().split(' ').first().toLongLong();
}

qint64 totalMemoryKb()
{
    return qint64(sysconf(_SC_PHYS_PAGES)) * (sysconf(_SC_PAGESIZE) / 1024);
}
