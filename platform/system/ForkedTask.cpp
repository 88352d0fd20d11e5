#include "system/ForkedTask.h"

#include "system/CloseRange.h"
#include "system/LifeSign.h"

#include <QDeadlineTimer>

#include <cerrno>
#include <csignal>

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

void closeFrom(int first)
{
    if (!closeRange(first)) {
        constexpr long most = 65536;
        for (long number = first, end = qMin(sysconf(_SC_OPEN_MAX), most); number < end; ++number) {
            close(int(number));
        }
    }
}

constexpr int outputNumber = STDERR_FILENO + 1;

[[noreturn]] void runChild(const ForkedTask::Work &work, int output, ForkedTask::Streams streams)
{
    LifeSign::set({}); // It would write to a descriptor of the caller.
    dup3(output, outputNumber, O_CLOEXEC); // Fails if it has that number, and it is O_CLOEXEC.
    closeFrom(outputNumber + 1);
    if (streams == ForkedTask::Streams::Closed) {
        for (int number = STDIN_FILENO; number <= STDERR_FILENO; ++number) {
            close(number);
        }
    }
    _exit(work(outputNumber));
}

} // namespace

ForkedTask::~ForkedTask()
{
    // One that hangs goes on alone; its parent is about to end.
}

bool ForkedTask::start(const Work &work)
{
    int ends[2] = {-1, -1};
    if (isRunning() || socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) {
        return false;
    }
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    const pid_t pid = fork();
    if (pid == 0) {
        prctl(PR_SET_NAME, m_name);
        runChild(work, ends[1], m_streams);
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    close(ends[1]);
    m_output.reset(ends[0]);
    if (pid < 0) {
        m_output.reset();
        return false;
    }
    m_pid = pid;
    m_text.clear();
    fcntl(m_output.number(), F_SETFL, O_NONBLOCK);
    m_notifier = std::make_unique<QSocketNotifier>(m_output.number(), QSocketNotifier::Read);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, &ForkedTask::readOutput);
    return true;
}

bool ForkedTask::wait(int limit)
{
    const QDeadlineTimer deadline(limit);
    while (isRunning()) {
        pollfd readable{m_output.number(), POLLIN, 0};
        if (poll(&readable, 1, int(deadline.remainingTime())) > 0) {
            readOutput();
        } else if (deadline.hasExpired()) {
            return false;
        }
    }
    return true;
}

void ForkedTask::cutOff()
{
    if (isRunning()) {
        kill(m_pid, SIGTERM);
    }
}

bool ForkedTask::isCutOff()
{
    sigset_t pending;
    return sigpending(&pending) == 0 && sigismember(&pending, SIGTERM) == 1;
}

void ForkedTask::readOutput()
{
    char piece[4096];
    ssize_t count = 0;
    while ((count = read(m_output.number(), piece, sizeof piece)) > 0) {
        m_text.append(piece, int(count));
    }
    if (count < 0 && (errno == EAGAIN || errno == EINTR)) {
        return;
    }
    int status = 0;
    // The child closes its output by its end, so this does not wait.
    while (waitpid(m_pid, &status, 0) < 0 && errno == EINTR) { }
    m_pid = 0;
    m_notifier->setEnabled(false);
    m_notifier.release()->deleteLater(); // It may be what called.
    m_output.reset();
    Q_EMIT done(m_text, WIFEXITED(status) ? WEXITSTATUS(status) : EIO);
}
