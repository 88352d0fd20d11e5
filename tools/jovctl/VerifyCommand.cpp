#include "Command.h"
#include "Verify.h"

namespace {

ExitStatus verify(const Arguments &arguments)
{
    return ExitStatus(runVerify(arguments.operands()));
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
    command.parsesItself = true;
    command.run = verify;
    return {command};
}
