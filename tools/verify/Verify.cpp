#include "Verify.h"

#include "Report.h"
#include "TerminalCheck.h"

#include <QCommandLineParser>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cstdio>

#include <unistd.h>

namespace {

constexpr int statusErrors = 1;
constexpr int statusUsage = 2;

int usageFault(const QString &text)
{
    std::fprintf(stderr, "jovctl verify: %s\n", qPrintable(text));
    return statusUsage;
}

} // namespace

int runVerify(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Reads the files of a terminal as the daemon would, and says what is wrong with them.\n"
                       "Exit status: 0 no errors, 1 errors, 2 wrong usage."));
    const QCommandLineOption json(QStringLiteral("json"), QStringLiteral("Print JSON."));
    const QCommandLineOption help({QStringLiteral("h"), QStringLiteral("help")}, QStringLiteral("Show this text."));
    parser.addOptions({json, help});
    parser.addPositionalArgument(
        QStringLiteral("ROOT"),
        QStringLiteral("The folder that will be the terminal's root; JOV_ROOT, or /, when absent."),
        QStringLiteral("[ROOT]"));
    if (!parser.parse(QStringList(QStringLiteral("jovctl verify")) + arguments)) {
        const QString option = parser.unknownOptionNames().value(0);
        return usageFault(option.isEmpty() ? parser.errorText()
                                           : QStringLiteral("there is no option \"%1%2\". Try: jovctl verify --help")
                                                 .arg(QLatin1String(option.size() > 1 ? "--" : "-"), option));
    }
    if (parser.isSet(help)) {
        std::fputs(qPrintable(parser.helpText()), stdout);
        return 0;
    }
    const QStringList roots = parser.positionalArguments();
    if (roots.size() > 1) {
        return usageFault(QStringLiteral("one ROOT at a time"));
    }
    if (!roots.isEmpty()) {
        if (!QFileInfo(roots.first()).isDir()) {
            return usageFault(QStringLiteral("no such folder: %1").arg(roots.first()));
        }
        qputenv("JOV_ROOT", QFile::encodeName(QDir(roots.first()).absolutePath()));
    }
    const TerminalReport report = checkTerminal();
    const bool colour = qEnvironmentVariableIsEmpty("NO_COLOR")
        && (::isatty(STDOUT_FILENO) != 0 || !qEnvironmentVariableIsEmpty("CLICOLOR_FORCE"));
    const QByteArray output = parser.isSet(json) ? jsonOf(report) : textOf(report, colour).toUtf8();
    std::fputs(output.constData(), stdout);
    return report.errors() > 0 ? statusErrors : 0;
}
