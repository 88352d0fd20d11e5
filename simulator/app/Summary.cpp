#include "app/Summary.h"

#include "app/BootReport.h"
#include "app/TerminalRoot.h"
#include "client/BootTables.h"
#include "client/Units.h"
#include "contract/Components.h"

namespace {

using Colour = Display::Colour;

constexpr int slowestShown = 3;

void showOutcome(Display &display, const Boot &boot, const QString &duration)
{
    const int expected = boot.expected().size();
    const QStringList missing = boot.missing();
    if (expected == 0) {
        display.line(QStringLiteral("No module was to be started; the boot took %1.").arg(duration), Colour::Busy);
    } else if (missing.isEmpty()) {
        display.line(QStringLiteral("All %1 modules are up after %2.").arg(expected).arg(duration), Colour::Good);
    } else {
        display.line(QStringLiteral("%1 of %2 modules are up after %3. Not running: %4")
                         .arg(expected - missing.size())
                         .arg(expected)
                         .arg(duration, missing.join(QStringLiteral(", "))),
                     Colour::Bad);
    }
    if (boot.isHeld()) {
        display.line(QStringLiteral("The step file holds the boot at step %1; the command \"step %2\" continues it.")
                         .arg(boot.target)
                         .arg(boot.target + 1),
                     Colour::Busy);
    }
}

} // namespace

void Summary::show(Display &display, const Boot &boot, const TimelineList &timeline, quint64 duration)
{
    display.line(QString());
    showOutcome(display, boot, Units::duration(duration));
    display.line(QString());
    const BootRecord record = analyseBoot(timeline, boot.modules, boot.steps);
    const QStringList lines = stepTable(record).lines();
    for (const QString &line : lines) {
        display.line(QStringLiteral("  ") + line);
    }
    QStringList slowest;
    const QList<BootModule> modules = record.slowest(slowestShown);
    for (const BootModule &module : modules) {
        slowest << QStringLiteral("%1 %2").arg(module.name, Units::duration(module.duration()));
    }
    display.line(QStringLiteral("\n  slowest: %1\n").arg(slowest.join(QStringLiteral(", "))));
}

void Summary::showFailures(Display &display, const Boot &boot)
{
    const TestCases cases = BootReport::casesOf(boot);
    for (const TestCase &one : cases) {
        if (one.failure.isEmpty()) {
            continue;
        }
        display.line(QStringLiteral("  %1: %2").arg(one.name, one.failure), Colour::Bad);
        const QStringList printed = TerminalRoot::printed(one.name);
        for (const QString &line : printed) {
            display.line(QStringLiteral("    ") + Console::printable(line));
        }
    }
}

void Summary::showWhatNext(Display &display, const Boot &boot, bool hasPrompt)
{
    const QString gate = Components::gate;
    const QStringList names = moduleNames(boot.modules);
    QString any = QStringLiteral("jovaudio");
    if (!names.contains(any)) {
        any = names.isEmpty() ? QStringLiteral("NAME") : names.constLast();
    }
    const auto offer = [&display, hasPrompt](const QString &command, const char *what) {
        display.line(
            QStringLiteral("  %1%2 %3")
                .arg(hasPrompt ? QString() : QStringLiteral("--"), command.leftJustified(20), QLatin1String(what)));
    };
    display.line(hasPrompt ? QStringLiteral("Try next:") : QStringLiteral("Try next, as options:"));
    offer(QStringLiteral("crash ") + any, "the logs are archived, and the terminal reboots");
    if (names.contains(gate)) {
        offer(QStringLiteral("crash ") + gate, "the screen shows a picture before the reboot");
    }
    if (hasPrompt) {
        offer(QStringLiteral("status ") + any, "its state, and why it does not run");
        offer(QStringLiteral("restart ") + any, "restart one module");
        offer(QStringLiteral("help"), "all commands");
    } else {
        display.line(QStringLiteral("  --terminal leak --watchdog-minute 2000"));
    }
    display.line(QStringLiteral("Ctrl-C stops everything in order.\n"));
}
