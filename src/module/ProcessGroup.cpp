#include "module/ProcessGroup.h"

#include "system/ProcStat.h"

#include <QDir>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <ctime>

#include <sys/wait.h>
#include <unistd.h>

namespace {

/// As the start time of a process is given: in clock ticks since the boot.
quint64 now()
{
    timespec time{};
    clock_gettime(CLOCK_BOOTTIME, &time);
    const auto ticksPerSecond = quint64(sysconf(_SC_CLK_TCK));
    return quint64(time.tv_sec) * ticksPerSecond + quint64(time.tv_nsec) * ticksPerSecond / 1000000000;
}

} // namespace

bool ProcessGroup::reapLeader(pid_t leader, int &status, ProcessGroup &left)
{
    const quint64 reapedAt = now();
    if (waitpid(leader, &status, WNOHANG) != leader) {
        return false;
    }
    // Almost every group is empty now, and /proc is expensive to read for each end.
    const bool isEmpty = ::kill(-leader, 0) != 0 && errno == ESRCH;
    left = isEmpty ? ProcessGroup() : ProcessGroup(leader, reapedAt);
    return true;
}

ProcessGroup::ProcessGroup(pid_t group, quint64 leaderReapedAt)
    : m_group(group)
{
    const QStringList names =
        QDir(QStringLiteral("/proc")).entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Unsorted);
    for (const QString &name : names) {
        const pid_t pid = name.toInt();
        const std::optional<ProcStat> process = pid > 0 ? ProcStat::read(pid) : std::nullopt;
        if (process && process->processGroup == group) {
            m_members.emplace_back(pid, process->startTime);
        }
    }
    // If all of them are younger than the leader's end, the number was free in between and is a stranger's.
    const auto isOlder = [&](const auto &member) { return member.second <= leaderReapedAt; };
    if (std::none_of(m_members.begin(), m_members.end(), isOlder)) {
        m_members.clear();
    }
}

void ProcessGroup::kill()
{
    for (const auto &[pid, startTime] : std::exchange(m_members, {})) {
        const std::optional<ProcStat> process = ProcStat::read(pid);
        if (process && process->startTime == startTime && process->processGroup == m_group) {
            ::kill(pid, SIGKILL);
        }
    }
}
