#include "module/PostponedLogPrograms.h"

#include "module/LogProgram.h"
#include "system/Descriptor.h"
#include "system/Spawn.h"

#include <cerrno>
#include <cstring>
#include <map>

#include <poll.h>
#include <sys/socket.h>

namespace {

constexpr int endTime = 1000; // milliseconds
constexpr int collectingTime = 20; // a process that each message woke would take the processor from the start-up
constexpr int longestCommand = 16384; // bytes: of a longer one, a part might be sent

/// Of a message: the read end itself and the command come with it, or the program is no longer put off.
struct Header
{
    int readEnd = -1;
    int commandSize = 0;
};

/// Room for one descriptor.
union Control {
    cmsghdr header;
    char bytes[CMSG_SPACE(sizeof(int))];
};

struct Program
{
    Descriptor readEnd;
    QByteArray command;
};

/// False at the end of the daemon.
bool receive(int connection, std::map<int, Program> &programs)
{
    Header header;
    Control control{};
    iovec text{&header, sizeof header};
    msghdr message{nullptr, 0, &text, 1, &control, sizeof control, 0};
    ssize_t size = recvmsg(connection, &message, MSG_DONTWAIT | MSG_CMSG_CLOEXEC);
    if (size < 0 && errno == EAGAIN) {
        pollfd end{connection, POLLRDHUP, 0};
        poll(&end, 1, collectingTime);
        size = recvmsg(connection, &message, MSG_CMSG_CLOEXEC);
    }
    if (size != sizeof header) {
        return false;
    }
    const cmsghdr *const rights = CMSG_FIRSTHDR(&message);
    if (!rights) {
        programs.erase(header.readEnd);
        return true;
    }
    Program &program = programs[header.readEnd];
    int number = -1;
    std::memcpy(&number, CMSG_DATA(rights), sizeof number);
    program.readEnd.reset(number);
    program.command.resize(header.commandSize);
    return recv(connection, program.command.data(), std::size_t(header.commandSize), MSG_WAITALL) == header.commandSize;
}

/// In the process.
int startAtEndOfDaemon(int connection)
{
    std::map<int, Program> programs;
    while (receive(connection, programs)) { }
    for (const auto &[key, program] : programs) {
        Spawn spawn;
        spawn.separateGroup();
        spawn.isolate();
        spawn.setMask(LogProgram::mask);
        spawn.openInput(program.readEnd.number());
        spawn.discardOutput();
        spawn.changeDirectory("/");
        pid_t pid = 0;
        spawn.run(pid, "/bin/sh", {"/bin/sh", "-c", program.command});
    }
    return 0;
}

} // namespace

PostponedLogPrograms &PostponedLogPrograms::instance()
{
    // Never destroyed: log programs may be, until the very end.
    static PostponedLogPrograms &programs = *new PostponedLogPrograms;
    return programs;
}

PostponedLogPrograms::PostponedLogPrograms()
{
    QObject::connect(&m_task, &ForkedTask::done, &m_task, [this] { m_readEnds.clear(); });
}

bool PostponedLogPrograms::add(int readEnd, const QByteArray &command)
{
    if (m_readEnds.contains(readEnd)) {
        return true;
    }
    // The one before may be about to end.
    const bool isReady = !m_readEnds.isEmpty() || (m_task.wait(endTime) && m_task.start(startAtEndOfDaemon));
    m_readEnds.insert(readEnd);
    const bool isSent =
        isReady && command.size() <= longestCommand && send(readEnd, command, CMSG_SPACE(sizeof readEnd));
    if (!isSent) {
        remove(readEnd);
    }
    return isSent;
}

void PostponedLogPrograms::remove(int readEnd)
{
    if (m_readEnds.remove(readEnd)) {
        send(readEnd, {}, 0);
        if (m_readEnds.isEmpty()) {
            shutdown(m_task.connection(), SHUT_WR);
        }
    }
}

bool PostponedLogPrograms::send(int readEnd, const QByteArray &command, std::size_t controlSize)
{
    Header header{readEnd, command.size()};
    Control control{};
    control.header = {CMSG_LEN(sizeof readEnd), SOL_SOCKET, SCM_RIGHTS};
    std::memcpy(CMSG_DATA(&control.header), &readEnd, sizeof readEnd);
    iovec texts[] = {{&header, sizeof header}, {const_cast<char *>(command.constData()), std::size_t(command.size())}};
    const msghdr message{nullptr, 0, texts, 2, &control, controlSize, 0};
    return sendmsg(m_task.connection(), &message, MSG_NOSIGNAL) == ssize_t(sizeof header) + command.size();
}
