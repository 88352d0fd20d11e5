#include "app/SimulatorOptions.h"

#include <QCommandLineParser>
#include <QRegularExpression>

#include <cstdio>
#include <cstdlib>

namespace {

constexpr int timeoutOfOnce = 120; // s

const char description[] = "Boots a complete terminal: a private bus, the real supervisor, a process for\n"
                           "each module. Reads commands (\"help\" lists them); Ctrl-C stops it in order.\n"
                           "Changes nothing outside its own directory, and leaves no files or processes\n"
                           "behind.\n\n"
                           "Exit status: 0 success; 1 the files have errors, a module did not start, the\n"
                           "home page was not shown, the terminal rebooted unexpectedly with --once, or\n"
                           "the supervisor failed; 2 wrong usage, or the terminal's files cannot be created.";

[[noreturn]] void reject(const QString &text)
{
    std::fprintf(stderr, "jov-simulator: %s; --help lists the options\n", qPrintable(text));
    std::exit(2);
}

int number(const QCommandLineParser &parser, const QString &name, int standard)
{
    bool isNumber = true;
    const int value = parser.isSet(name) ? parser.value(name).toInt(&isNumber) : standard;
    if (!isNumber || (parser.isSet(name) && value <= 0)) {
        reject(QStringLiteral("--%1 needs a number greater than 0, not '%2'").arg(name, parser.value(name)));
    }
    return value;
}

} // namespace

SimulatorOptions SimulatorOptions::parse(const QStringList &arguments)
{
    const QString terminal = QStringLiteral("terminal");
    const QString root = QStringLiteral("root");
    const QString once = QStringLiteral("once");
    const QString force = QStringLiteral("force");
    const QString strict = QStringLiteral("strict");
    const QString isolate = QStringLiteral("isolate");
    const QString junit = QStringLiteral("junit");
    const QString crash = QStringLiteral("crash");
    const QString after = QStringLiteral("after");
    const QString timeout = QStringLiteral("timeout");
    const QString minute = QStringLiteral("watchdog-minute");
    const QString directory = QStringLiteral("DIR");
    const QString milliseconds = QStringLiteral("MS");

    QCommandLineParser parser;
    parser.setApplicationDescription(QString::fromLatin1(description));
    const QCommandLineOption help({QStringLiteral("h"), QStringLiteral("help")}, QStringLiteral("Print this text."));
    parser.addOptions({
        help,
        {once, QStringLiteral("Boot, show the summary, stop, exit.")},
        {force, QStringLiteral("Boot even if the check of the files (jovctl verify) finds errors.")},
        {strict, QStringLiteral("Treat the warnings of that check as errors.")},
        {junit, QStringLiteral("With --once: write the results to FILE, as JUnit XML."), QStringLiteral("FILE")},
        {crash, QStringLiteral("Crash the module NAME when the terminal has booted."), QStringLiteral("NAME")},
        {after, QStringLiteral("Time from the end of the boot to the crash, in milliseconds (default: 2000)."),
         milliseconds},
        {terminal,
         QStringLiteral("Boot the set of files in DIR; \"leak\" and \"parallel\" are supplied with the simulator."),
         directory},
        {minute, QStringLiteral("Set the length of one minute of the memory watchdog, in milliseconds."), milliseconds},
        {root,
         QStringLiteral("Create the terminal's files in DIR, which must be new or empty, and keep them. If DIR has the "
                        "files of an earlier run, boot them unchanged."),
         directory},
        {isolate,
         QStringLiteral("Boot in a PID namespace, so that no process survives even if all of the simulator is killed. "
                        "Process numbers are then those of the namespace.")},
        {timeout, QStringLiteral("Stop waiting for the boot after S seconds (default: no limit; 120 with --once)."),
         QStringLiteral("S")},
    });

    if (!parser.parse(arguments)) {
        reject(parser.errorText().remove(QRegularExpression(QStringLiteral("\\.+$"))));
    }
    if (parser.isSet(help)) {
        std::fputs(qPrintable(parser.helpText()), stdout);
        std::exit(0);
    }
    if (!parser.positionalArguments().isEmpty()) {
        reject(QStringLiteral("unexpected argument '%1'").arg(parser.positionalArguments().constFirst()));
    }
    SimulatorOptions options;
    options.terminal = parser.value(terminal);
    options.root = parser.value(root);
    options.once = parser.isSet(once);
    options.force = parser.isSet(force);
    options.strict = parser.isSet(strict);
    options.isolate = parser.isSet(isolate);
    options.junit = parser.value(junit);
    if (!options.junit.isEmpty() && !options.once) {
        reject(QStringLiteral("--junit needs --once"));
    }
    options.crash = parser.value(crash);
    options.crashAfter = number(parser, after, options.crashAfter);
    options.timeout = number(parser, timeout, options.once ? timeoutOfOnce : 0);
    options.watchdogMinute = number(parser, minute, 0);
    return options;
}
