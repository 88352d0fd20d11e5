#include "jovctl/CommandTable.h"

#include "client/Console.h"
#include "client/NearMiss.h"

#include <QCoreApplication>

#include <algorithm>

namespace {

constexpr int summaryColumn = 19;

QString aligned(const QString &left, const QString &right)
{
    return QStringLiteral("  %1 %2\n").arg(left.leftJustified(summaryColumn), right);
}

QString programHelp()
{
    QString text = QStringLiteral("Usage: jovctl COMMAND [OPTION...] [ARGUMENT...]\n\n"
                                  "Shows the state of the running ApplicationManager and controls its modules.\n"
                                  "\nCommands:\n");
    const CommandList commands = allCommands();
    for (const Command &command : commands) {
        text += aligned((command.name + QLatin1Char(' ') + command.operands).trimmed(), command.summary);
    }
    return text
        + QStringLiteral("\n  jovctl COMMAND --help      Show the help of a command, with examples\n"
                         "  jovctl --version           Show the version\n"
                         "\nExamples:\n"
                         "  jovctl status JovGate      Show why a module is not running\n"
                         "  jovctl boot --svg boot.svg Write a chart of the start-up\n"
                         "\nExit status: 0 success, 1 failure, 2 wrong usage, 3 the daemon is not running.\n"
                         "jovctl uses the system bus, or the bus that DBUS_SYSTEM_BUS_ADDRESS names.\n"
                         "The output is coloured on a terminal or if CLICOLOR_FORCE is set, but not if\n"
                         "NO_COLOR is set.\n");
}

QString commandHelp(const Command &command)
{
    QString text =
        QStringLiteral("Usage: jovctl %1%2 %3")
            .arg(command.name, command.options.isEmpty() ? QString() : QStringLiteral(" [OPTION...]"), command.operands)
            .trimmed();
    text += QStringLiteral("\n\n%1.\n").arg(command.summary);
    if (!command.description.isEmpty()) {
        text += QLatin1Char('\n') + command.description + QLatin1Char('\n');
    }
    text += QStringLiteral("\nOptions:\n");
    for (const QCommandLineOption &option : command.options) {
        QString name = QStringLiteral("--") + option.names().last();
        if (!option.valueName().isEmpty()) {
            name += QLatin1Char('=') + option.valueName();
        }
        text += aligned(name, option.description());
    }
    text += aligned(QStringLiteral("-h, --help"), QStringLiteral("Show this help"));
    text += QStringLiteral("\nExamples:\n");
    for (const QString &example : command.examples) {
        text += QStringLiteral("  %1\n").arg(example);
    }
    return text;
}

const Command &find(const CommandList &commands, const QString &name)
{
    const auto found =
        std::find_if(commands.begin(), commands.end(), [&](const Command &command) { return command.name == name; });
    if (found != commands.end()) {
        return *found;
    }
    QStringList names;
    for (const Command &command : commands) {
        names << command.name;
    }
    throw Failure(ExitStatus::Usage,
                  QStringLiteral("unknown command \"%1\". %2")
                      .arg(Console::printable(name), didYouMean(name, names, QStringLiteral("Try: jovctl --help"))));
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
    const CommandList commands = allCommands();
    const Command &command = find(commands, wantsHelp ? words.takeFirst() : first);
    const Arguments arguments = Arguments::parse(command, wantsHelp ? QStringList(QStringLiteral("--help")) : words);
    if (arguments.wantsHelp()) {
        Console::write(commandHelp(command));
        return ExitStatus::Done;
    }
    return command.run(arguments);
}

} // namespace

QCommandLineOption jsonOption()
{
    return QCommandLineOption(QStringLiteral("json"), QStringLiteral("Print JSON instead of a table"));
}

CommandList allCommands()
{
    return listCommands() + statusCommands() + treeCommands() + controlCommands() + wholeCommands() + topCommands()
        + watchCommands() + logLevelCommands() + bootCommands() + metricsCommands() + verifyCommands();
}

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
