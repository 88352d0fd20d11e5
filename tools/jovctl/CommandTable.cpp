#include "jovctl/CommandTable.h"

namespace {

constexpr int summaryColumn = 19;

constexpr Command commands[] = {
    {"list", Commands::list, "", 0, 0, "json names", "List all modules with their states", "",
     "jovctl list\n"
     "jovctl list --json | jq -r '.[] | select(.state != \"RUNNING\") | .name'"},
    {"status", Commands::status, "[NAME...]", 0, -1, "json",
     "Show the state of the terminal, or the details of modules",
     "Says what is not running and why. Exits with status 4 if a module is not\n"
     "running.",
     "jovctl status\n"
     "jovctl status JovGate\n"
     "jovctl status --json JovGate Platform"},
    {"is-running", Commands::isRunning, "NAME...", 1, -1, "q", "Print the states of modules; for scripts",
     "Exits with status 4 if one of them is not running.",
     "jovctl is-running JovGate || echo no gate\n"
     "until jovctl is-running -q JovGate; do sleep 1; done"},
    {"tree", Commands::tree, "", 0, 0, "json dot", "Show the steps and the dependencies between modules", "",
     "jovctl tree\n"
     "jovctl tree --dot | dot -Tsvg -o tree.svg"},
    {"start", Commands::start, "NAME...", 1, -1, "", "Start modules and wait until they are running",
     "The modules that they depend on must be running.",
     "jovctl start JovGate\n"
     "jovctl start jovaudio kelmmi"},
    {"stop", Commands::stop, "NAME...", 1, -1, "", "Stop modules and the modules that depend on them",
     "All later steps are stopped first. The other modules that were stopped are\n"
     "listed.",
     "jovctl stop JovGate"},
    {"restart", Commands::restart, "NAME...", 1, -1, "", "Stop modules and start them again",
     "The modules that depend on them keep running.", "jovctl restart jovaudio kelmmi"},
    {"start-all", Commands::startAll, "", 0, 0, "", "Start all modules that are not running",
     "After stop-all the daemon refuses this: use restart-all.", "jovctl start-all"},
    {"stop-all", Commands::stopAll, "", 0, 0, "", "Stop all modules, the last step first", "The daemon keeps running.",
     "jovctl stop-all"},
    {"restart-all", Commands::restartAll, "", 0, 0, "", "Stop all modules, read all files again, start all modules",
     "If the daemon cannot use the files, it exits. Check them first: jovctl verify", "jovctl restart-all"},
    {"restart-app", Commands::restartApp, "", 0, 0, "", "Stop and start all modules, if restarts are allowed",
     "Has the same conditions as a restart requested by a module: step 5 has been\n"
     "reached, and the platform has not locked restarts. The files are not read again.",
     "jovctl restart-app"},
    {"shutdown", Commands::shutDown, "", 0, 0, "", "Stop all modules and exit the daemon", "", "jovctl shutdown"},
    {"step", Commands::step, "N", 1, 1, "", "Continue a start-up that the step file holds, up to step N", "",
     "jovctl step 4"},
    {"top", Commands::top, "", 0, 0, "json once interval", "Show the memory and processor use of the modules, live",
     "Sorted by processor use. The daemon compares VIRTUAL with LIMIT.\n"
     "Ctrl-C or q ends it.",
     "jovctl top\n"
     "jovctl top --once --json"},
    {"watch", Commands::watch, "", 0, 0, "json events", "Print state changes and completed steps as they happen",
     "Prints the current state of all modules, then every change. Waits if the\n"
     "daemon is not running. Ctrl-C ends it. With --json each line is an object.",
     "jovctl watch --events\n"
     "jovctl watch --json | jq 'select(.kind == \"change\")'"},
    {"log", Commands::log, "NAME", 1, 1, "n f", "Print what a module has printed",
     "Reads the file or the journal that module_output in platform.ini names, or the\n"
     "file of a log program (module_output_path). Needs no daemon.",
     "jovctl log JovGate\n"
     "jovctl log -f -n 50 JovGate"},
    {"log-level", Commands::logLevel, "[N]", 0, 1, "", "Show or set the log level of the running daemon",
     "N is a number or a name: 0 emergency, 3 error, 4 warning, 6 info, 7 debug.\n"
     "Levels 1 and 2 log the same as 0, and 5 the same as 4.\n"
     "The level applies until the daemon exits; the initial level is in platform.ini.",
     "jovctl log-level\n"
     "jovctl log-level 7\n"
     "jovctl log-level info"},
    {"why", Commands::why, "", 0, 0, "", "Say why the terminal was rebooted or the daemon ended last",
     "Reads the history, and needs no daemon.", "jovctl why"},
    {"history", Commands::history, "", 0, 0, "json n", "List the boots of the terminal and why each ended",
     "The newest comes first; boot 0 is this one. Reads the history, and needs no\n"
     "daemon. With --json an object has the whole record of the end, with the last\n"
     "lines of the log.",
     "jovctl history\n"
     "jovctl history --json -n 2 | jq -r '.[1].reason.log[]'"},
    {"boot", Commands::boot, "[N | WORD...]", 0, -1, "json all svg previous compare what-if",
     "Show how long the start-up took, by step and by module",
     "Shows the total, the steps, the slowest modules and the critical chain: the\n"
     "sequence of dependent modules that sets the shortest possible start-up time.\n"
     "With --previous or --compare, N is the number of the boot in the history (1, the\n"
     "default, is the one before this); no daemon is needed.\n"
     "With --what-if a WORD is parallel=STEP[,STEP...] or early=MODULE:[AFTER[,AFTER...]].\n"
     "Without words each step and the slowest modules are tried.",
     "jovctl boot\n"
     "jovctl boot --svg boot.svg\n"
     "jovctl boot --compare 3\n"
     "jovctl boot --what-if parallel=services early=netconfig:Platform\n"
     "jovctl boot --json | jq .total"},
    {"metrics", Commands::metrics, "", 0, 0, "openmetrics output", "Print metrics for a monitoring system",
     "The format is that of the textfile collector of a node exporter. The file of\n"
     "--output is replaced as a whole, or left as it is. If the daemon is not\n"
     "running, prints jovara_up 0 and exits with status 3.",
     "jovctl metrics\n"
     "jovctl metrics --output=/var/lib/prometheus/node-exporter/jovara.prom"},
    {"verify", Commands::verify, "[ROOT]", 0, 1, "json sarif", "Check the files of a terminal for errors",
     "Reads the files below ROOT, or those of this terminal, as the daemon does.\n"
     "Prints each error with its file and line, and how to fix it. Needs no daemon\n"
     "and no bus. Exits with status 1 if there are errors. The file .jov-verify in ROOT\n"
     "silences rules by name; jovctl-verify(1) lists them.",
     "jovctl verify\n"
     "jovctl verify --json build/rootfs\n"
     "jovctl verify --sarif build/rootfs > verify.sarif"}};

constexpr struct
{
    const char *name, *value, *description;
} options[] = {{"json", "", "Print JSON"},
               {"sarif", "", "Print SARIF 2.1.0, for code review sites"},
               {"names", "", "Print only the names, one in a line"},
               {"dot", "", "Print a graph for Graphviz"},
               {"once", "", "Print one table and exit"},
               {"interval", "SECONDS", "Time between two tables (default: 1)"},
               {"events", "", "Print the events of the platform, too"},
               {"all", "", "Show all modules, not only the slowest"},
               {"q", "", "Print nothing"},
               {"previous", "", "Show an earlier start-up, of the history"},
               {"compare", "", "Show which modules are slower or faster than in an earlier boot"},
               {"what-if", "", "Forecast the start-up if the words were in the configuration"},
               {"n", "COUNT", "Show the last COUNT only"},
               {"f", "", "Print what is added, too, until Ctrl-C"},
               {"openmetrics", "", "Print OpenMetrics text"},
               {"output", "FILE", "Write to FILE"},
               {"svg", "FILE", "Write a chart to FILE (- for standard output)"}};

QString aligned(const QString &left, const QString &right)
{
    return QStringLiteral("  %1 %2\n").arg(left.leftJustified(summaryColumn), right);
}

QString optionText(const QString &name, const QString &value)
{
    const bool isLong = name.size() > 1;
    const QLatin1String separator(value.isEmpty() ? "" : isLong ? "=" : " ");
    return QLatin1String(isLong ? "--" : "-") + name + separator + value;
}

QString usage(const Command &command)
{
    return (QLatin1String(command.name) + QLatin1Char(' ') + QLatin1String(command.operands)).trimmed();
}

} // namespace

const Command *findCommand(const QString &name)
{
    for (const Command &command : commands) {
        if (name == QLatin1String(command.name)) {
            return &command;
        }
    }
    return nullptr;
}

QStringList commandNames()
{
    QStringList names;
    for (const Command &command : commands) {
        names << QLatin1String(command.name);
    }
    return names;
}

QList<QCommandLineOption> optionsOf(const Command &command)
{
    QList<QCommandLineOption> list;
    const QStringList names = QString::fromLatin1(command.options).split(QLatin1Char(' '));
    for (const auto &option : options) {
        if (names.contains(QLatin1String(option.name))) {
            list << QCommandLineOption(QLatin1String(option.name), QLatin1String(option.description),
                                       QLatin1String(option.value));
        }
    }
    return list;
}

QString programHelp()
{
    QString text = QStringLiteral("Usage: jovctl COMMAND [OPTION...] [ARGUMENT...]\n\n"
                                  "Shows the state of the running ApplicationManager and controls its modules.\n"
                                  "\nCommands:\n");
    for (const Command &command : commands) {
        text += aligned(usage(command), QLatin1String(command.summary));
    }
    return text
        + QStringLiteral("\n  jovctl COMMAND --help      Show the help of a command, with examples\n"
                         "  jovctl --version           Show the version\n"
                         "\nExamples:\n"
                         "  jovctl status JovGate      Show why a module is not running\n"
                         "  jovctl boot --svg boot.svg Write a chart of the start-up\n"
                         "\nExit status: 0 done, or all modules are up; 1 failure; 2 wrong usage, or an unknown\n"
                         "module; 3 the daemon is not running; 4 not all modules are up (status,\n"
                         "is-running); 5 the terminal will reboot (stop,\n"
                         "restart).\n"
                         "jovctl uses the system bus, or the bus that DBUS_SYSTEM_BUS_ADDRESS names.\n"
                         "The output is coloured on a terminal or if CLICOLOR_FORCE is set, but not if\n"
                         "NO_COLOR is set.\n");
}

QString commandHelp(const Command &command)
{
    QString text = QStringLiteral("Usage: jovctl %1%2 %3\n\n%4.\n")
                       .arg(QLatin1String(command.name), QLatin1String(*command.options ? " [OPTION...]" : ""),
                            QLatin1String(command.operands), QLatin1String(command.summary));
    if (*command.description) {
        text += QStringLiteral("\n%1\n").arg(QLatin1String(command.description));
    }
    text += QStringLiteral("\nOptions:\n");
    for (const QCommandLineOption &option : optionsOf(command)) {
        const QString value = option.valueName();
        text += aligned(optionText(option.names().last(), value), option.description());
    }
    text += aligned(QStringLiteral("--timeout=SECONDS"), QStringLiteral("End after this time, with status 1"));
    text += aligned(QStringLiteral("-h, --help"), QStringLiteral("Show this help")) + QStringLiteral("\nExamples:\n");
    const QStringList examples = QString::fromLatin1(command.examples).split(QLatin1Char('\n'));
    return text + QStringLiteral("  %1\n").arg(examples.join(QStringLiteral("\n  ")));
}
