#include "module/ModuleOutput.h"

#include "module/LogProgram.h"
#include "supervision/OutputSetting.h"
#include "system/ReadersGroup.h"

#include <jov/JovRoot.h>
#include <jov/Log.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

namespace {

constexpr mode_t permissions = S_IRUSR | S_IWUSR | S_IRGRP;
constexpr qint64 largestFile = 65536; // bytes, at a launch

int openAppending(const QByteArray &name)
{
    // O_NONBLOCK: a FIFO without a reader would stop the daemon here.
    return open(name.constData(), O_WRONLY | O_APPEND | O_CREAT | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, permissions);
}

/// Changes nothing that is right already: for a new file each change costs as much as its creation.
void giveToReaders(int file, const struct stat &status)
{
    if ((status.st_mode & ALLPERMS) != permissions) {
        fchmod(file, permissions);
    }
    const gid_t group = readersGroup();
    if (group != gid_t(-1) && group != status.st_gid) {
        const int changed = fchown(file, uid_t(-1), group);
        static_cast<void>(changed); // Only root may.
    }
}

/// Most launches find the folder, and a small file.
int openFile(const QString &path)
{
    const QByteArray name = QFile::encodeName(path);
    Descriptor file(openAppending(name));
    if (!file.isOpen() && errno == ENOENT) {
        const mode_t ownMask = umask(S_IWGRP | S_IWOTH); // ours is 0, and logrotate refuses a folder of everybody
        QDir().mkpath(QFileInfo(path).path());
        umask(ownMask);
        file.reset(openAppending(name));
    }
    struct stat status = {};
    if (!file.isOpen() || fstat(file.number(), &status) != 0) {
        return -1;
    }
    if (!S_ISREG(status.st_mode)) {
        errno = EINVAL;
        return -1;
    }
    if (status.st_size > largestFile && std::rename(name.constData(), (name + ".old").constData()) == 0) {
        file.reset(openAppending(name));
        if (!file.isOpen() || fstat(file.number(), &status) != 0) {
            return -1;
        }
    }
    if (status.st_size == 0) {
        giveToReaders(file.number(), status);
    }
    return fcntl(file.number(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1); // the other one is closed
}

/// The journal's stream socket: a header of lines, then what the module prints.
int openJournal(const QString &module)
{
    const QByteArray path = QFile::encodeName(JovRoot::rooted(QStringLiteral("/run/systemd/journal/stdout")));
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    if (std::size_t(path.size()) >= sizeof address.sun_path) {
        errno = ENAMETOOLONG;
        return -1;
    }
    std::memcpy(address.sun_path, path.constData(), std::size_t(path.size()));
    const int journal = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    // Identifier, unit, priority, prefixes of lines as priorities, copies to syslog, kernel and console.
    const QByteArray header = module.toUtf8() + "\n\n6\n0\n0\n0\n0\n";
    if (connect(journal, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0
        || send(journal, header.constData(), std::size_t(header.size()), MSG_NOSIGNAL) != header.size()) {
        const int error = errno;
        close(journal);
        errno = error;
        return -1;
    }
    shutdown(journal, SHUT_RD);
    return journal;
}

} // namespace

void openModuleOutput(const OutputSetting &setting, const QString &module, std::unique_ptr<LogProgram> &program,
                      Descriptor &output)
{
    const QString command = setting.commandOf(module);
    if (program && program->command() != command) {
        program.reset();
    }
    switch (setting.kind) {
    case OutputSetting::Kind::None:
        return;
    case OutputSetting::Kind::Journal:
        output.reset(openJournal(module));
        break;
    case OutputSetting::Kind::File:
        output.reset(openFile(setting.pathOf(module)));
        break;
    case OutputSetting::Kind::Program:
        if (!program) {
            program = std::make_unique<LogProgram>(module, command);
        }
        output.reset(program->open());
        break;
    }
    if (!output.isOpen()) {
        Log::warning("module_output of %1 cannot be opened: %2", module, qt_error_string(errno));
    }
}
