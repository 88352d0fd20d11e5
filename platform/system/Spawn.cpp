#include "system/Spawn.h"

#include "system/CloseRange.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>

#include <fcntl.h>
#include <sched.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr int stackSize = 32768;
constexpr int lastStandardSignal = 31;
/// As posix_spawn has it. Only seen where the child has its memory for itself, as under an emulator.
constexpr int notExecuted = 127;

/// What exec takes; it does not change the texts.
std::vector<char *> pointersTo(const std::vector<QByteArray> &texts)
{
    std::vector<char *> pointers;
    pointers.reserve(texts.size() + 1);
    for (const QByteArray &text : texts) {
        pointers.push_back(const_cast<char *>(text.constData()));
    }
    pointers.push_back(nullptr);
    return pointers;
}

/// The daemon holds the numbers of closed streams by descriptors that only name a file.
bool isOpen(int descriptor)
{
    const int flags = fcntl(descriptor, F_GETFL);
    return flags >= 0 && !(flags & O_PATH);
}

bool openAs(int descriptor, const char *path, int flags)
{
    close(descriptor); // most often the number that open() then takes
    const int number = open(path, flags);
    return number == descriptor || (number >= 0 && dup2(number, descriptor) >= 0 && close(number) == 0);
}

bool openNull(int descriptor, int flags)
{
    return openAs(descriptor, "/dev/null", flags);
}

/// The daemon's directory in /proc, whose numbers can be of another namespace than getpid()'s. To ask for it costs as
/// much as all else that a start does with descriptors, so a process asks once.
const QByteArray &ownProcDirectory()
{
    static pid_t asker = 0;
    static QByteArray directory;
    if (asker != getpid()) {
        std::array<char, 16> number = {};
        const bool isKnown = readlink("/proc/self", number.data(), number.size() - 1) > 0;
        asker = isKnown ? getpid() : 0;
        directory = QByteArray("/proc/") + (isKnown ? number.data() : "self");
    }
    return directory;
}

/// valgrind ends the process that asks for it. What it loads into its process tells.
bool canShareTable()
{
    static const bool can = !qgetenv("LD_PRELOAD").contains("vgpreload");
    return can;
}

} // namespace

struct Spawn::Child
{
    const Spawn &spawn;
    const char *program;
    char *const *words;
    char *const *environment;
    int error = 0;
};

void Spawn::openInput(int descriptor)
{
    // The kernel makes a new /proc/self for each child, which takes longer than all that is opened there; but only
    // there may a child look whose caller has more privileges than its user.
    const QByteArray number = "/fd/" + QByteArray::number(descriptor);
    m_input = descriptor;
    m_inputPath = ownProcDirectory() + number;
    m_otherInputPath = "/proc/self" + number;
}

int Spawn::run(pid_t &pid, const QByteArray &program, const std::vector<QByteArray> &arguments)
{
    const std::vector<char *> words = pointersTo(arguments);
    const std::vector<char *> entries = pointersTo(m_environment);
    Child child{*this, program.constData(), words.data(), m_environment.empty() ? environ : entries.data()};
    alignas(std::max_align_t) std::array<char, stackSize> stack;
    constexpr int flags = CLONE_VM | CLONE_VFORK | SIGCHLD; // This thread goes on after exec, or the end of the child.
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before); // A handler in the child would run in our memory.
    pid_t process = clone(runChild, stack.end(), flags | (m_isolated && canShareTable() ? CLONE_FILES : 0), &child);
    if (process < 0 && errno == EINVAL) {
        process = clone(runChild, stack.end(), flags, &child); // Emulators do not know CLONE_FILES.
    }
    const int error = process < 0 ? errno : child.error;
    if (process > 0 && error != 0) {
        while (waitpid(process, nullptr, 0) < 0 && errno == EINTR) { }
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    if (error == 0) {
        pid = process;
    }
    return error;
}

// No memory is allocated from here on: it is that of the caller.
int Spawn::runChild(void *data)
{
    Child &child = *static_cast<Child *>(data);
    if (child.spawn.prepareChild()) {
        execve(child.program, child.words, child.environment);
    }
    child.error = errno;
    _exit(notExecuted);
}

bool Spawn::prepareChild() const
{
    for (int signal = 1; signal <= lastStandardSignal; ++signal) {
        if (signal != SIGPIPE || m_output < 0) {
            std::signal(signal, SIG_DFL); // exec keeps ignored ones
        }
    }
    if ((m_separateGroup && setpgid(0, 0) != 0) || !separateDescriptors() || !connectStreams()
        || (!m_directory.isEmpty() && chdir(m_directory.constData()) != 0)) {
        return false;
    }
    if (m_mask) {
        umask(*m_mask);
    }
    sigset_t none;
    sigemptyset(&none);
    return sigprocmask(SIG_SETMASK, &none, nullptr) == 0;
}

bool Spawn::separateDescriptors() const
{
    // Only what is below is copied.
    return !m_isolated || closeRange(std::max({STDERR_FILENO, m_input, m_output}) + 1, unshareTable)
        || unshare(CLONE_FILES) == 0;
}

bool Spawn::connectStreams() const
{
    if (m_fillsStreams) {
        for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
            if (!isOpen(descriptor) && !openNull(descriptor, O_RDWR)) {
                return false;
            }
        }
    }
    if (m_input >= 0 && !openAs(STDIN_FILENO, m_inputPath.constData(), O_RDONLY)
        && !openAs(STDIN_FILENO, m_otherInputPath.constData(), O_RDONLY)) {
        return false;
    }
    if (m_discardsOutput && (!openNull(STDOUT_FILENO, O_WRONLY) || !openNull(STDERR_FILENO, O_WRONLY))) {
        return false;
    }
    if (m_output >= 0 && (dup2(m_output, STDOUT_FILENO) < 0 || dup2(m_output, STDERR_FILENO) < 0)) {
        return false;
    }
    if (m_isolated) {
        closeRange(STDERR_FILENO + 1); // An old kernel leaves that to O_CLOEXEC.
    }
    return true;
}
