#include "jovctl/Arguments.h"

#include "client/Console.h"
#include "jovctl/CommandTable.h"

#include <QCommandLineParser>

namespace {

constexpr double shortestTimeout = 0.001; // s
constexpr double longestTimeout = 1e9;

[[noreturn]] void refuse(const Command &command, const QString &text)
{
    throw Failure(ExitStatus::Usage,
                  QStringLiteral("%1. Try: jovctl %2 --help").arg(text, QLatin1String(command.name)));
}

QString optionWord(const QString &name)
{
    return (name.size() > 1 ? QStringLiteral("--") : QStringLiteral("-")) + Console::printable(name);
}

} // namespace

Arguments Arguments::parse(const Command &command, const QStringList &words)
{
    QCommandLineParser parser;
    const QList<QCommandLineOption> options = optionsOf(command);
    parser.addOptions(options);
    const QCommandLineOption help(QStringList{QStringLiteral("h"), QStringLiteral("help")});
    parser.addOption(help);
    const QCommandLineOption timeout(QStringLiteral("timeout"), QString(), QStringLiteral("SECONDS"));
    parser.addOption(timeout);
    const bool isRight = parser.parse(QStringList(QLatin1String(command.name)) + words);
    if (!parser.unknownOptionNames().isEmpty()) {
        refuse(command, QStringLiteral("unknown option \"%1\"").arg(optionWord(parser.unknownOptionNames().first())));
    }
    if (!isRight) {
        QString text = parser.errorText();
        while (text.endsWith(QLatin1Char('.'))) {
            text.chop(1);
        }
        refuse(command, text.left(1).toLower() + text.mid(1));
    }
    Arguments arguments;
    arguments.m_wantsHelp = parser.isSet(help);
    arguments.m_operands = parser.positionalArguments();
    for (const QCommandLineOption &option : options) {
        if (parser.isSet(option)) {
            arguments.m_values.insert(option.names().last(), parser.value(option));
        }
    }
    if (parser.isSet(timeout)) {
        bool isNumber = false;
        arguments.m_timeout = parser.value(timeout).toDouble(&isNumber);
        if (!isNumber || !(arguments.m_timeout >= shortestTimeout && arguments.m_timeout <= longestTimeout)) {
            refuse(command, QStringLiteral("--timeout needs a number of seconds"));
        }
    }
    const int count = arguments.m_operands.size();
    if (!arguments.m_wantsHelp && count < command.fewest) {
        refuse(command, QStringLiteral("missing argument (%1)").arg(QLatin1String(command.operands)));
    }
    if (!arguments.m_wantsHelp && command.most >= 0 && count > command.most) {
        refuse(command, QStringLiteral("unexpected argument \"%1\"").arg(arguments.m_operands.at(command.most)));
    }
    return arguments;
}
