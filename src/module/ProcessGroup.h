#ifndef PROCESS_GROUP_H
#define PROCESS_GROUP_H

#include <QtGlobal>

#include <utility>
#include <vector>

#include <sys/types.h>

/**
 * What a process has left in its process group when it ended.
 *
 * While a group has members its number cannot be given to another process. Once it is empty the number is free and can
 * be a stranger's later, so the members are remembered by pid and start time.
 */
class ProcessGroup
{
public:
    ProcessGroup() = default;

    /// Ends the wait for the leader, which has ended, and looks at its group. `status` is the wait status; false if
    /// there is none.
    static bool reapLeader(pid_t leader, int &status, ProcessGroup &left);

    [[nodiscard]] bool isEmpty() const { return m_members.empty(); }
    /// Kills those that are still in the group, and forgets them.
    void kill();

private:
    explicit ProcessGroup(pid_t group, quint64 leaderReapedAt);

    pid_t m_group = 0;
    std::vector<std::pair<pid_t, quint64>> m_members; ///< pid and start time
};

#endif
