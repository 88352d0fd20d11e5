#include "app/KeeperLink.h"
#include "app/Simulator.h"
#include "app/SimulatorOptions.h"
#include "app/TerminalRoot.h"
#include "client/Interrupt.h"

#include <QCoreApplication>
#include <QDir>
#include <QTimer>

#include <cstdio>

namespace {

constexpr int wrongUse = 2;

int complain(const QString &text)
{
    std::fprintf(stderr, "jov-simulator: %s\n", qPrintable(text));
    return wrongUse;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    const SimulatorOptions options = SimulatorOptions::parse(QCoreApplication::arguments());
    if (options.outcome == SimulatorOptions::Outcome::ShowHelp) {
        std::fputs(qPrintable(options.text), stdout);
        return 0;
    }
    if (options.outcome == SimulatorOptions::Outcome::Wrong) {
        return complain(options.text + QStringLiteral("; --help lists the options"));
    }

    TerminalRoot root;
    const QString openFault = root.open(options.root);
    if (!openFault.isEmpty()) {
        return complain(openFault);
    }
    const QString layFault = root.lay(options.terminal);
    if (!layFault.isEmpty()) {
        if (!root.isKept()) {
            QDir(root.path()).removeRecursively();
        }
        return complain(layFault);
    }
    qputenv("JOV_ROOT", QFile::encodeName(root.path()));
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=" + QFile::encodeName(root.busSocket()));

    Interrupt interrupt;
    KeeperLink keeper;
    if (!keeper.open(root.path(), root.isKept())) {
        return complain(QStringLiteral("no process can be started"));
    }
    Simulator simulator(options, root, keeper);
    QObject::connect(&interrupt, &Interrupt::raised, &simulator, &Simulator::interrupt);
    QObject::connect(&simulator, &Simulator::finished, &application,
                     [](int status) { QCoreApplication::exit(status); });
    QTimer::singleShot(0, &simulator, &Simulator::begin);
    return QCoreApplication::exec();
}
