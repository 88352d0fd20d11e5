#include "app/KeeperLink.h"

#include "app/Descendants.h"
#include "app/Keeper.h"

#include <QDir>
#include <QFile>
#include <QSocketNotifier>

#include <cerrno>

#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

KeeperLink::KeeperLink() = default;

KeeperLink::~KeeperLink()
{
    close();
}

bool KeeperLink::open(const QString &root, bool keepRoot)
{
    m_root = root;
    m_keepRoot = keepRoot;
    int ends[2] = {-1, -1};
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) {
        return false;
    }
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    m_keeper = fork();
    if (m_keeper == 0) {
        ::close(ends[0]);
        Keeper(ends[1], keepRoot ? std::string() : QFile::encodeName(root).toStdString()).run();
        _exit(0);
    }
    ::close(ends[1]);
    m_socket = ends[0];
    if (m_keeper < 0) {
        return false;
    }
    m_notifier = std::make_unique<QSocketNotifier>(m_socket, QSocketNotifier::Read);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, &KeeperLink::receive);
    return true;
}

void KeeperLink::close()
{
    if (m_socket < 0) {
        return;
    }
    m_notifier.reset();
    ::close(m_socket);
    m_socket = -1;
    int status = 0;
    while (waitpid(m_keeper, &status, 0) < 0 && errno == EINTR) { }
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        clearAwayMyself(); // it was killed while it did so
    }
}

void KeeperLink::run(const QString &name, const QString &output, const QStringList &commandLine)
{
    KeeperMessage message{KeeperMessage::Run, {name.toStdString(), QFile::encodeName(output).toStdString()}};
    for (const QString &word : commandLine) {
        message.words.push_back(QFile::encodeName(word).toStdString());
    }
    message.send(m_socket);
}

void KeeperLink::signal(const QString &name, int number)
{
    KeeperMessage{KeeperMessage::Signal, {name.toStdString(), std::to_string(number)}}.send(m_socket);
}

void KeeperLink::clearAllBut(const QString &name)
{
    KeeperMessage{KeeperMessage::Clear, {name.toStdString()}}.send(m_socket);
}

void KeeperLink::receive()
{
    const std::optional<KeeperMessage> message = KeeperMessage::receive(m_socket);
    if (!message) {
        m_notifier->setEnabled(false);
        clearAwayMyself();
        Q_EMIT lost();
        return;
    }
    const auto word = [&message](std::size_t i) { return QString::fromStdString(message->words.at(i)); };
    switch (message->kind) {
    case KeeperMessage::Started:
        Q_EMIT started(word(0), word(1).toLongLong());
        break;
    case KeeperMessage::Failed:
        Q_EMIT failed(word(0), word(1));
        break;
    case KeeperMessage::Ended:
        Q_EMIT ended(word(0), word(1).toInt());
        break;
    case KeeperMessage::Cleared:
        Q_EMIT cleared(word(0).toInt());
        break;
    default:
        break;
    }
}

void KeeperLink::clearAwayMyself()
{
    Descendants::kill(0, [] {
        while (waitpid(-1, nullptr, WNOHANG) > 0) { }
    });
    if (!m_keepRoot) {
        QDir(m_root).removeRecursively();
    }
}
