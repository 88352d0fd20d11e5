#include "app/Gate.h"
#include "app/Guard.h"
#include "app/Simulator.h"
#include "app/SimulatorOptions.h"
#include "app/TerminalRoot.h"
#include "client/Console.h"
#include "client/Interrupt.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTimer>

#include <cstdio>

namespace {

int complain(const QString &text)
{
    std::fprintf(stderr, "jov-simulator: %s\n", qPrintable(text));
    return 2;
}

/// Shows the results of the check. False if the terminal must not boot.
bool passes(const Gate &gate, const SimulatorOptions &options)
{
    for (const QString &line : gate.lines()) {
        Console::writeLine(line);
    }
    if (!gate.isPassed() && !options.force) {
        Console::writeLine(QStringLiteral("The terminal is not booted: fix the files, or use --force."));
    }
    Console::flush();
    return gate.isPassed() || options.force;
}

/// 1 if the results cannot be written.
int report(const SimulatorOptions &options, const TestCases &cases)
{
    if (options.junit.isEmpty() || BootReport::writeJunit(options.junit, cases)) {
        return 0;
    }
    complain(QStringLiteral("cannot write %1").arg(options.junit));
    return 1;
}

int simulate(const SimulatorOptions &options, const TerminalRoot &root)
{
    const Gate gate(root, options.strict);
    if (!passes(gate, options)) {
        report(options, gate.cases());
        return 1;
    }
    Interrupt interrupt;
    Simulator simulator(options, root);
    QObject::connect(&interrupt, &Interrupt::raised, &simulator, &Simulator::interrupt);
    QObject::connect(&simulator, &Simulator::finished, qApp, [](int status) { QCoreApplication::exit(status); });
    QTimer::singleShot(0, &simulator, &Simulator::begin);
    const int status = QCoreApplication::exec();
    return qMax(status, report(options, gate.cases() + simulator.cases()));
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const SimulatorOptions options = SimulatorOptions::parse(QCoreApplication::arguments());
    TerminalRoot root;
    QString fault = root.open(options.root);
    if (!fault.isEmpty()) {
        return complain(fault);
    }
    fault = root.fill(options.terminal);
    if (!fault.isEmpty()) {
        if (!root.isKept()) {
            QDir(root.path()).removeRecursively();
        }
        return complain(fault);
    }
    const QByteArray path = QFile::encodeName(root.path());
    qputenv("JOV_ROOT", path);
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", QFile::encodeName(root.busAddress()));
    const std::string refusal =
        Guard::begin(root.isKept() ? std::string() : path.toStdString(),
                     options.isolate ? Guard::Processes::InNamespace : Guard::Processes::Shared);
    if (!refusal.empty()) {
        if (!root.isKept()) {
            QDir(root.path()).removeRecursively();
        }
        return complain(QString::fromStdString(refusal));
    }
    const int status = simulate(options, root);
    Guard::end();
    return status;
}
