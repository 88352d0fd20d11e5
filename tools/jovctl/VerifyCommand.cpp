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

} // namespace

ExitStatus Commands::verify(const Arguments &arguments)
{
    if (!arguments.operands().isEmpty()) {
        moveRoot(arguments.operands().constFirst());
    }
    const TerminalReport report = checkTerminal();
    if (arguments.wantsJson()) {
        Console::writeJson(QJsonDocument(jsonOf(report)));
    } else if (arguments.isSet(QStringLiteral("sarif"))) {
        Console::writeJson(QJsonDocument(sarifOf(report)));
    } else {
        Console::write(textOf(report));
    }
    return report.errors() > 0 ? ExitStatus::Failed : ExitStatus::Done;
}
