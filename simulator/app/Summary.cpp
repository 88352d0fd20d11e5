#include "Summary.h"

#include <algorithm>

namespace {

using Tone = Display::Tone;

constexpr int slowestShown = 3;

QString milliseconds(qint64 time)
{
    return time < 0 ? QStringLiteral("-") : QStringLiteral("%1 ms").arg(time);
}

QString seconds(qint64 time)
{
    return QString::number(static_cast<double>(time) / 1000, 'f', 2) + QStringLiteral(" s");
}

QString slowest(const BootRecord &boot)
{
    QList<QPair<qint64, QString>> order;
    const QMap<QString, BootRecord::Module> modules = boot.modules();
    for (auto module = modules.cbegin(); module != modules.cend(); ++module) {
        if (module->took >= 0) {
            order.append({-module->took, module.key()});
        }
    }
    std::sort(order.begin(), order.end());
    QStringList texts;
    for (const auto &entry : order.mid(0, slowestShown)) {
        texts.append(QStringLiteral("%1 %2").arg(entry.second, milliseconds(-entry.first)));
    }
    return texts.join(QStringLiteral(", "));
}

} // namespace

void Summary::show(Display &display, const BootRecord &boot)
{
    const auto row = [&display](const QString &step, const QString &value, const QString &modules, const QString &took,
                                Tone tone) {
        display.line(QStringLiteral("  %1 %2 %3 %4")
                         .arg(step.leftJustified(14), value.rightJustified(6), modules.rightJustified(8),
                              took.rightJustified(10)),
                     tone);
    };
    display.line(QString());
    const QStringList missing = boot.missing();
    if (missing.isEmpty()) {
        display.line(
            QStringLiteral("All %1 modules are up after %2.").arg(boot.expected()).arg(seconds(boot.duration())),
            Tone::Good);
    } else {
        display.line(QStringLiteral("%1 of %2 modules are up after %3. Not up: %4")
                         .arg(boot.upCount())
                         .arg(boot.expected())
                         .arg(seconds(boot.duration()), missing.join(QStringLiteral(", "))),
                     Tone::Bad);
    }
    if (boot.files().target < TerminalFiles::goesOn) {
        display.line(QStringLiteral("The step file holds the boot at step %1; the command \"step %2\" leads it on.")
                         .arg(boot.files().target)
                         .arg(boot.files().target + 1),
                     Tone::Notice);
    }
    display.line(QString());
    row(QStringLiteral("step"), QStringLiteral("value"), QStringLiteral("modules"), QStringLiteral("took"),
        Tone::Faint);
    for (const BootRecord::Step &step : boot.steps()) {
        row(step.name, QString::number(step.value), QString::number(step.modules), milliseconds(step.took),
            Tone::Plain);
    }
    display.line(QStringLiteral("  slowest: %1").arg(slowest(boot)));
    display.line(QString());
}

void Summary::showWhatNext(Display &display, const BootRecord &boot, bool hasPrompt)
{
    const QString gate = QStringLiteral("JovGate");
    QString any = QStringLiteral("jovaudio");
    if (!boot.modules().contains(any)) {
        any = boot.modules().isEmpty() ? QStringLiteral("NAME") : boot.modules().lastKey();
    }
    const auto offer = [&display, hasPrompt](const QString &command, const char *what) {
        display.line(
            QStringLiteral("  %1%2 %3")
                .arg(hasPrompt ? QString() : QStringLiteral("--"), command.leftJustified(20), QLatin1String(what)));
    };
    display.line(hasPrompt ? QStringLiteral("Try next:") : QStringLiteral("Try next, as options:"));
    offer(QStringLiteral("crash ") + any, "the logs are archived, and the terminal reboots");
    if (boot.modules().contains(gate)) {
        offer(QStringLiteral("crash ") + gate, "a picture comes on the screen before it does");
    }
    if (hasPrompt) {
        offer(QStringLiteral("restart ") + any, "one module alone");
        offer(QStringLiteral("help"), "all commands");
    } else {
        offer(QStringLiteral("terminal leak --watchdog-minute 2000"), "");
    }
    display.line(QStringLiteral("Ctrl-C stops everything in order."));
    display.line(QString());
}

void Summary::showModules(Display &display, const BootRecord &boot, const ListApplicationConfig &modules)
{
    const auto row = [&display](const QString &name, const QString &step, const QString &state, const QString &pid,
                                const QString &status, Tone tone) {
        display.line(QStringLiteral("  %1 %2 %3 %4  %5")
                         .arg(name.leftJustified(18), step.leftJustified(12), state.leftJustified(18),
                              pid.rightJustified(7), status),
                     tone);
    };
    row(QStringLiteral("module"), QStringLiteral("step"), QStringLiteral("state"), QStringLiteral("pid"),
        QStringLiteral("status"), Tone::Faint);
    for (const ApplicationConfig &module : modules) {
        const bool isRunning = module.getState() == QLatin1String("RUNNING");
        row(module.getName(), boot.files().stepOfModule.value(module.getName()), module.getState(),
            module.getID() == QLatin1String("0") ? QStringLiteral("-") : module.getID(), module.getStatus(),
            isRunning ? Tone::Good : Tone::Bad);
    }
}
