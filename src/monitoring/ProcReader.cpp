#include "monitoring/ProcReader.h"

#include "bus/BusOutbox.h"
#include "catalogue/Saturated.h"
#include "monitoring/ProcParser.h"
#include "system/ProcStat.h"

#include <jov/Log.h>

#include <QFile>

#include <cerrno>
#include <ctime>

namespace {

constexpr double ticksPerSecond = 100.0;

// Signals arrive all the time (a child has ended); against a point in time they do not shorten the sleep.
void sleepFor(std::chrono::milliseconds period)
{
    using namespace std::chrono;
    BusOutbox::flushAll();
    timespec end = {};
    ::clock_gettime(CLOCK_MONOTONIC, &end);
    const nanoseconds until = seconds(end.tv_sec) + nanoseconds(end.tv_nsec) + period;
    end.tv_sec = time_t(duration_cast<seconds>(until).count());
    end.tv_nsec = long((until % seconds(1)).count());
    while (::clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &end, nullptr) == EINTR) { }
}

} // namespace

ProcReader::ProcReader(const QString &procRoot)
    : m_procRoot(procRoot)
{ }

bool ProcReader::read(const QString &pid, const QString &file, const ProcFile::Sink &sink) const
{
    const QString directory = m_procRoot + QLatin1Char('/') + pid;
    const ProcFile::Result result = ProcFile::read(QFile::encodeName(directory), QFile::encodeName(file), sink);
    const auto path = [&] { return directory + QLatin1Char('/') + file; };
    if (result == ProcFile::Result::Missing) {
        Log::debug("file does not exist %1", path);
    } else if (result == ProcFile::Result::NotReadable) {
        Log::debug("file not readable %1", path);
    }
    return result == ProcFile::Result::Ok;
}

qint64 ProcReader::memoryUsage(const QString &pid, const QString &file, const QString &field) const
{
    if (pid.isEmpty()) {
        return 0;
    }
    ProcParser::FieldSum sum(field.toUtf8());
    const bool done = read(pid, file, [&sum](const char *data, std::size_t size) { sum.add(data, size); });
    return done ? sum.total() : 0;
}

int ProcReader::getMemoryUsage(const QString &pid, const QString &file, const QString &field) const
{
    return saturated(memoryUsage(pid, file, field));
}

qint64 ProcReader::meminfo(const QByteArray &field) const
{
    QFile file(m_procRoot + QStringLiteral("/meminfo"));
    return file.open(QIODevice::ReadOnly) ? ProcParser::meminfoField(file.readAll(), field) : 0;
}

int ProcReader::getTotalMemory() const
{
    return saturated(totalMemory());
}

int ProcReader::getFreeMemory() const
{
    return saturated(meminfo("MemFree"));
}

qint64 ProcReader::totalMemory() const
{
    return meminfo("MemTotal");
}

qint64 ProcReader::getProcessTicks(const QString &pid) const
{
    if (pid.isEmpty()) {
        return 0;
    }
    QByteArray text;
    const bool done = read(pid, QStringLiteral("stat"),
                           [&text](const char *data, std::size_t size) { text.append(data, int(size)); });
    const std::optional<ProcStat> stat = done ? ProcStat::parse(text) : std::nullopt;
    return stat ? stat->ownTicks + stat->childTicks : 0;
}

double ProcReader::getCpuUsage(const QString &pid, std::chrono::milliseconds period) const
{
    if (pid.isEmpty()) {
        return 0;
    }
    const qint64 before = getProcessTicks(pid);
    sleepFor(period);
    const qint64 after = getProcessTicks(pid);
    const double seconds = std::chrono::duration<double>(period).count();
    // A process that has ended in between has no ticks.
    return after < before ? 0 : double(after - before) / (ticksPerSecond * seconds);
}
