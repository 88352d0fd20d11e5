#include "client/BusClient.h"
#include "client/Interrupt.h"
#include "client/Table.h"
#include "client/Units.h"
#include "jovctl/Command.h"
#include "jovctl/KeyReader.h"
#include "jovctl/ProcessUsage.h"

#include <QCoreApplication>
#include <QHash>
#include <QTimer>

#include <algorithm>

namespace {

struct Sample
{
    ModuleInfo module;
    ProcessUsage usage;
    double share = 0; ///< of one processor: 1 is all of it
};

/// The processor share of a sample is the time that the process used since the sample before.
class Sampler
{
public:
    QList<Sample> take(const ModuleList &modules)
    {
        QList<Sample> samples;
        QHash<uint, quint64> used;
        const quint64 now = Units::now();
        for (const ModuleInfo &module : modules) {
            const std::optional<ProcessUsage> usage = ProcessUsage::read(module.pid);
            if (!usage) {
                continue;
            }
            const auto before = m_used.constFind(module.pid);
            const quint64 more =
                before == m_used.cend() || *before > usage->microseconds ? 0 : usage->microseconds - *before;
            samples << Sample{module, *usage, double(more) / double(std::max<quint64>(now - m_time, 1))};
            used.insert(module.pid, usage->microseconds);
        }
        m_used = used;
        m_time = now;
        std::sort(samples.begin(), samples.end(), [](const Sample &left, const Sample &right) {
            return left.share != right.share ? left.share > right.share
                                             : left.usage.residentKb > right.usage.residentKb;
        });
        return samples;
    }

private:
    QHash<uint, quint64> m_used; ///< by process
    quint64 m_time = 0;
};

Table tableOf(const QList<Sample> &samples)
{
    const auto right = Table::Align::Right;
    Table table({{QStringLiteral("NAME"), QStringLiteral("name"), Table::Align::Left, true},
                 {QStringLiteral("PID"), QStringLiteral("pid"), right},
                 {QStringLiteral("CPU %"), QStringLiteral("cpuPercent"), right},
                 {QStringLiteral("RESIDENT"), QStringLiteral("residentKb"), right},
                 {QStringLiteral("VIRTUAL"), QStringLiteral("virtualKb"), right},
                 {QStringLiteral("LIMIT"), QStringLiteral("limitKb"), right},
                 {QStringLiteral("THREADS"), QStringLiteral("threads"), right},
                 {QStringLiteral("STATE"), QStringLiteral("state")}});
    const auto memory = [](qint64 kb) { return Table::Cell(Units::memory(kb), QJsonValue(kb)); };
    const qint64 total = totalMemoryKb();
    for (const Sample &sample : samples) {
        const qint64 limit = sample.module.maxMemory.size(total);
        Table::Cell size = memory(sample.usage.virtualKb);
        size.colour = sample.module.maxMemory.isExceeded(sample.usage.virtualKb, total) ? Console::Colour::Bad
                                                                                        : Console::Colour::None;
        table.add({sample.module.name, sample.module.pid,
                   Table::Cell(QString::number(sample.share * 100, 'f', 1), QJsonValue(sample.share * 100)),
                   memory(sample.usage.residentKb), size,
                   limit > 0 ? memory(limit) : Table::Cell(QStringLiteral("-"), QJsonValue(0)), sample.usage.threads,
                   Table::Cell(sample.module.stateText, Console::colourOfState(sample.module.stateText))});
    }
    return table;
}

void show(const QList<Sample> &samples, bool asJson)
{
    const Table table = tableOf(samples);
    if (asJson) {
        table.print(true);
        return;
    }
    qint64 resident = 0;
    double share = 0;
    for (const Sample &sample : samples) {
        resident += sample.usage.residentKb;
        share += sample.share;
    }
    const QString summary = QStringLiteral("%1 processes, %2 resident, %3 % of a processor")
                                .arg(samples.size())
                                .arg(Units::memory(resident), QString::number(share * 100, 'f', 1));
    if (!Console::isTerminal()) {
        Console::writeLine(summary);
        table.print(false);
        Console::writeLine(QString());
        return;
    }
    QStringList lines = table.lines(Console::columns());
    const int room = std::max(Console::rows() - 3, 2);
    const int hidden = lines.size() - room;
    if (hidden > 0) {
        lines = lines.mid(0, room - 1) << QStringLiteral("... and %1 more").arg(hidden + 1);
    }
    Console::writeLine(summary + QLatin1Char('\n') + lines.join(QLatin1Char('\n')));
}

double intervalOf(const Arguments &arguments)
{
    if (!arguments.isSet(QStringLiteral("interval"))) {
        return 1;
    }
    bool isNumber = false;
    const double seconds = arguments.value(QStringLiteral("interval")).toDouble(&isNumber);
    if (!isNumber || !(seconds >= 0.1 && seconds <= 86400)) {
        throw Failure(ExitStatus::Usage, QStringLiteral("--interval must be from 0.1 to 86400 seconds"));
    }
    return seconds;
}

} // namespace

ExitStatus Commands::top(const Arguments &arguments)
{
    const double interval = intervalOf(arguments);
    const bool once = arguments.isSet(QStringLiteral("once"));
    const bool asJson = arguments.wantsJson();
    Interrupt interrupt;
    const BusClient client;
    Sampler sampler;
    sampler.take(client.modules());
    auto status = ExitStatus::Done;
    QTimer timer;
    const auto refresh = [&] {
        try {
            const ModuleList modules = client.modules();
            if (Console::isTerminal() && !asJson && !once) {
                Console::write(QStringLiteral("\x1b[H\x1b[J"));
            }
            show(sampler.take(modules), asJson);
        } catch (const Failure &failure) {
            Console::complain(failure.text());
            status = failure.status();
        }
        if (once || status != ExitStatus::Done || !Console::flush()) {
            QCoreApplication::quit();
        }
    };
    QObject::connect(&timer, &QTimer::timeout, &timer, refresh);
    QObject::connect(&interrupt, &Interrupt::raised, &timer, [] { QCoreApplication::quit(); });
    const KeyReader keys;
    QObject::connect(&keys, &KeyReader::pressed, &timer, [](char key) {
        if (key == 'q') {
            QCoreApplication::quit();
        }
    });
    timer.start(int(interval * 1000));
    QCoreApplication::exec();
    return status;
}
