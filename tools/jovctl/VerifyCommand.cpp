#include "client/Console.h"
#include "jovctl/Command.h"
#include "verify/Report.h"
#include "verify/TerminalCheck.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>

namespace {

/// Makes this process read the terminal's files below `folder`.
void moveRoot(const QString &folder)
{
    if (!QFileInfo(folder).isDir()) {
        throw Failure(ExitStatus::Usage, QStringLiteral("no such directory: %1").arg(Console::printable(folder)));
    }
    qputenv("JOV_ROOT", QFile::encodeName(QDir(folder).absolutePath()));
}

ExitStatus verify(const Arguments &arguments)
{
    if (!arguments.operands().isEmpty()) {
        moveRoot(arguments.operands().constFirst());
    }
    const TerminalReport report = checkTerminal();
    if (arguments.wantsJson()) {
        Console::writeJson(QJsonDocument(jsonOf(report)));
    } else {
        Console::write(textOf(report));
    }
    return report.errors() > 0 ? ExitStatus::Failed : ExitStatus::Done;
}

} // namespace

CommandList verifyCommands()
{
    return {{QStringLiteral("verify"),
             verify,
             QStringLiteral("Check the files of a terminal for errors"),
             QStringLiteral("Reads the files below ROOT, or those of this terminal, as the daemon does.\n"
                            "Prints each error with its file and line, and how to fix it. Needs no daemon and no bus.\n"
                            "Exits with status 1 if there are errors."),
             {QStringLiteral("jovctl verify"), QStringLiteral("jovctl verify build/rootfs"),
              QStringLiteral("jovctl verify --json build/rootfs")},
             {jsonOption()},
             QStringLiteral("[ROOT]"),
             0,
             1}};
}
