#include "module/ModuleOutput.h"

#include "module/LogProgram.h"
#include "module/OutputFiles.h"
#include "supervision/OutputSetting.h"

#include <jov/JovRoot.h>
#include <jov/Log.h>

#include <QFile>

#include <cerrno>
#include <cstring>

#include <sys/socket.h>
#include <sys/un.h>

namespace {

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
        output.reset(OutputFiles::open(setting.pathOf(module)));
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
