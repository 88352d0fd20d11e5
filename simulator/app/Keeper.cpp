#include "app/Keeper.h"

#include "app/Descendants.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <system_error>

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

int childSignals()
{
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGCHLD);
    sigprocmask(SIG_BLOCK, &set, nullptr);
    return signalfd(-1, &set, SFD_NONBLOCK | SFD_CLOEXEC);
}

void redirectStreams(const char *output)
{
    const int null = open("/dev/null", O_RDWR);
    const int file = open(output, O_WRONLY | O_CREAT | O_APPEND, 0644);
    dup2(null, STDIN_FILENO);
    dup2(file >= 0 ? file : null, STDOUT_FILENO);
    dup2(file >= 0 ? file : null, STDERR_FILENO);
    if (null > STDERR_FILENO) {
        close(null);
    }
    if (file > STDERR_FILENO) {
        close(file);
    }
}

/// In the forked child: becomes the program, or tells the keeper through `failure` why it cannot.
[[noreturn]] void become(const std::vector<std::string> &words, int failure)
{
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    std::signal(SIGPIPE, SIG_DFL);
    redirectStreams(words[1].c_str());
    std::vector<char *> arguments;
    for (std::size_t i = 2; i < words.size(); ++i) {
        arguments.push_back(const_cast<char *>(words[i].c_str()));
    }
    arguments.push_back(nullptr);
    execvp(arguments[0], arguments.data());
    const int error = errno;
    _exit(write(failure, &error, sizeof error) > 0 ? 127 : 126);
}

} // namespace

Keeper::Keeper(int socket, std::string root)
    : m_socket(socket)
    , m_root(std::move(root))
{ }

void Keeper::run()
{
    setsid();
    prctl(PR_SET_NAME, "jov-keeper");
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    redirectStreams("/dev/null");
    const int children = childSignals();
    for (;;) {
        pollfd waiting[] = {{m_socket, POLLIN, 0}, {children, POLLIN, 0}};
        if (poll(waiting, 2, -1) < 0 && errno != EINTR) {
            break;
        }
        if (waiting[1].revents != 0) {
            signalfd_siginfo ignored;
            while (read(children, &ignored, sizeof ignored) > 0) { }
            reap();
        }
        if (waiting[0].revents != 0) {
            const std::optional<KeeperMessage> message = KeeperMessage::receive(m_socket);
            if (!message) {
                break;
            }
            serve(*message);
        }
    }
    Descendants::kill(0, [this] { reap(); });
    if (!m_root.empty()) {
        std::error_code ignored;
        std::filesystem::remove_all(m_root, ignored);
    }
}

void Keeper::serve(const KeeperMessage &message)
{
    switch (message.kind) {
    case KeeperMessage::Run:
        start(message);
        break;
    case KeeperMessage::Signal:
        if (const pid_t pid = pidOf(message.words[0])) {
            kill(pid, std::stoi(message.words[1]));
        }
        break;
    case KeeperMessage::Clear: {
        const int count = Descendants::kill(pidOf(message.words[0]), [this] { reap(); });
        KeeperMessage{KeeperMessage::Cleared, {std::to_string(count)}}.send(m_socket);
        break;
    }
    default:
        break;
    }
}

void Keeper::start(const KeeperMessage &message)
{
    int failure[2] = {-1, -1};
    if (pipe2(failure, O_CLOEXEC) != 0) {
        KeeperMessage{KeeperMessage::Failed, {message.words[0], std::strerror(errno)}}.send(m_socket);
        return;
    }
    const pid_t pid = fork();
    if (pid == 0) {
        become(message.words, failure[1]);
    }
    close(failure[1]);
    int error = pid < 0 ? errno : 0;
    if (pid > 0 && read(failure[0], &error, sizeof error) <= 0) {
        error = 0; // closed by a successful exec
    }
    close(failure[0]);
    if (error != 0) {
        KeeperMessage{KeeperMessage::Failed, {message.words[0], std::strerror(error)}}.send(m_socket);
        return;
    }
    m_running[message.words[0]] = pid;
    KeeperMessage{KeeperMessage::Started, {message.words[0], std::to_string(pid)}}.send(m_socket);
}

void Keeper::reap()
{
    int status = 0;
    pid_t pid = 0;
    while ((pid = waitpid(-1, &status, WNOHANG)) > 0) {
        for (auto running = m_running.begin(); running != m_running.end(); ++running) {
            if (running->second == pid) {
                KeeperMessage{KeeperMessage::Ended, {running->first, std::to_string(status)}}.send(m_socket);
                m_running.erase(running);
                break;
            }
        }
    }
}

pid_t Keeper::pidOf(const std::string &name) const
{
    const auto running = m_running.find(name);
    return running == m_running.end() ? 0 : running->second;
}
