#include "client/Console.h"
#include "jovctl/Command.h"
#include "verify/Report.h"
#include "verify/TerminalCheck.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace {

/// From here on this process finds the terminal's files below `folder`.
void moveRoot(const QString &folder)
{
    if (!QFileInfo(folder).isDir()) {
        throw Failure(ExitStatus::Usage, QStringLiteral("no such folder: %1").arg(Console::printable(folder)));
    }
    qputenv("JOV_ROOT", QFile::encodeName(QDir(folder).absolutePath()));
}

ExitStatus verify(const Arguments &arguments)
{
    if (!arguments.operands().isEmpty()) {
        moveRoot(arguments.operands().constFirst());
    }
    const TerminalReport report = checkTerminal();
    Console::write(arguments.wantsJson() ? QString::fromUtf8(jsonOf(report)) : textOf(report, Console::hasColour()));
    return report.errors() > 0 ? ExitStatus::Failed : ExitStatus::Done;
}

} // namespace

CommandList verifyCommands()
{
    Command command;
    command.name = QStringLiteral("verify");
    command.synopsis = QStringLiteral("[ROOT]");
    command.summary = QStringLiteral("Check a set of files before it is flashed");
    command.description =
        QStringLiteral("Needs no daemon and no bus: reads the files below ROOT, or those of this\n"
                       "terminal, as the daemon would, and says what is wrong, where, and how to mend\n"
                       "it. Exit status 1 when there are errors.");
    command.examples = QStringList{QStringLiteral("jovctl verify"), QStringLiteral("jovctl verify build/rootfs"),
                                   QStringLiteral("jovctl verify --json build/rootfs")};
    command.options = QList<QCommandLineOption>{jsonOption()};
    command.most = 1;
    command.run = verify;
    return {command};
}
