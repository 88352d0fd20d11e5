#include "jovctl/CommandLine.h"

#include "client/Console.h"
#include "client/NearMiss.h"
#include "client/TimeLimit.h"
#include "jovctl/CommandTable.h"

#include <QCoreApplication>

namespace {

const Command &find(const QString &name)
{
    if (const Command *command = findCommand(name)) {
        return *command;
    }
    throw Failure(
        ExitStatus::Usage,
        QStringLiteral("unknown command \"%1\". %2")
            .arg(Console::printable(name), didYouMean(name, commandNames(), QStringLiteral("Try: jovctl --help"))));
}

ExitStatus run(QStringList words)
{
    const QString first = words.isEmpty() ? QString() : words.takeFirst();
    if (first == QLatin1String("--version")) {
        Console::writeLine(QStringLiteral("jovctl %1").arg(QCoreApplication::applicationVersion()));
        return ExitStatus::Done;
    }
    const bool wantsHelp =
        first == QLatin1String("help") || first == QLatin1String("--help") || first == QLatin1String("-h");
    if (wantsHelp && words.isEmpty()) {
        Console::write(programHelp());
        return ExitStatus::Done;
    }
    if (first.isEmpty()) {
        throw Failure(ExitStatus::Usage, QStringLiteral("no command. Try: jovctl --help"));
    }
    const Command &command = find(wantsHelp ? words.takeFirst() : first);
    const Arguments arguments = Arguments::parse(command, wantsHelp ? QStringList(QStringLiteral("--help")) : words);
    if (arguments.wantsHelp()) {
        Console::write(commandHelp(command));
        return ExitStatus::Done;
    }
    if (arguments.timeout() > 0) {
        limitTime(arguments.timeout());
    }
    return command.run(arguments);
}

} // namespace

ExitStatus runCommandLine(const QStringList &words)
{
    ExitStatus status = ExitStatus::Done;
    try {
        status = run(words);
    } catch (const Failure &failure) {
        Console::complain(failure.text());
        status = failure.status();
    }
    if (!Console::flush()) {
        Console::complain(QStringLiteral("cannot write the output"));
        return status == ExitStatus::Done ? ExitStatus::Failed : status;
    }
    return status;
}
