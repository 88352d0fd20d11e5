#include "app/SimulatorOptions.h"

#include <QCommandLineParser>

namespace {

/// A boot that shows no end within this time is given up when nobody sits before it.
constexpr int timeoutOfOnce = 120;

const char description[] = "Boots a whole terminal on this computer: a private bus, the real supervisor,\n"
                           "a process for each module. Nothing outside its own folder is touched, and\n"
                           "nothing is left when it ends. It goes on until Ctrl-C and takes commands:\n"
                           "help lists them.\n\n"
                           "Exit status: 0 all went well; 1 a module did not come up, the terminal rebooted\n"
                           "unasked under --once, or the supervisor ended badly; 2 wrong use, or the\n"
                           "terminal's files cannot be laid.";

void readNumber(const QCommandLineParser &parser, const QString &name, int &number, SimulatorOptions &options)
{
    if (!parser.isSet(name)) {
        return;
    }
    bool isNumber = false;
    const int value = parser.value(name).toInt(&isNumber);
    if (isNumber && value > 0) {
        number = value;
        return;
    }
    options.outcome = SimulatorOptions::Outcome::Wrong;
    options.text = QStringLiteral("--%1 takes a number above 0, not '%2'").arg(name, parser.value(name));
}

} // namespace

SimulatorOptions SimulatorOptions::parse(const QStringList &arguments)
{
    const QString terminal = QStringLiteral("terminal");
    const QString root = QStringLiteral("root");
    const QString once = QStringLiteral("once");
    const QString crash = QStringLiteral("crash");
    const QString after = QStringLiteral("after");
    const QString timeout = QStringLiteral("timeout");
    const QString minute = QStringLiteral("watchdog-minute");

    QCommandLineParser parser;
    parser.setApplicationDescription(QString::fromLatin1(description));
    const QCommandLineOption help({QStringLiteral("h"), QStringLiteral("help")}, QStringLiteral("This text."));

    parser.addOptions({
        help,
        {once, QStringLiteral("Boot, show the summary, stop, end.")},
        {terminal,
         QStringLiteral("Boot the set of files in DIR. \"leak\" is one that comes with the simulator: a module "
                        "that takes more and more memory."),
         QStringLiteral("DIR")},
        {root,
         QStringLiteral("Lay the terminal into DIR, which must be new or empty, and keep it; one that was laid "
                        "there before is booted as it stands."),
         QStringLiteral("DIR")},
        {crash, QStringLiteral("Crash the module NAME once the terminal is up."), QStringLiteral("NAME")},
        {after, QStringLiteral("So long after the end of the boot (2000)."), QStringLiteral("MS")},
        {timeout, QStringLiteral("Give a boot up that takes longer (no limit; 120 with --once)."), QStringLiteral("S")},
        {minute, QStringLiteral("Let a minute of the memory watchdog take so long."), QStringLiteral("MS")},
    });

    SimulatorOptions options;
    if (!parser.parse(arguments)) {
        options.outcome = Outcome::Wrong;
        options.text = parser.errorText();
        while (options.text.endsWith(QLatin1Char('.'))) {
            options.text.chop(1);
        }
        return options;
    }
    if (parser.isSet(help)) {
        options.outcome = Outcome::ShowHelp;
        options.text = parser.helpText();
        return options;
    }
    options.terminal = parser.value(terminal);
    options.root = parser.value(root);
    options.once = parser.isSet(once);
    options.crash = parser.value(crash);
    options.timeout = options.once ? timeoutOfOnce : 0;
    readNumber(parser, after, options.crashAfter, options);
    readNumber(parser, timeout, options.timeout, options);
    readNumber(parser, minute, options.watchdogMinute, options);
    if (!parser.positionalArguments().isEmpty()) {
        options.outcome = Outcome::Wrong;
        options.text = QStringLiteral("'%1' is no option").arg(parser.positionalArguments().constFirst());
    }
    return options;
}
