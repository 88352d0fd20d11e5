#include "jovctl/WhatIf.h"

#include "client/BootForecast.h"
#include "client/BootTables.h"
#include "client/Failure.h"
#include "client/NearMiss.h"
#include "client/Units.h"
#include "contract/Components.h"
#include "root/PlatformIni.h"
#include "supervision/Parameters.h"
#include "supervision/Timing.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>

namespace {

constexpr int modulesTried = 10;
constexpr quint64 leastGain = 1000; // microseconds

const QString parallelWord = QStringLiteral("parallel=");
const QString earlyWord = QStringLiteral("early=");

struct Trial
{
    QString words; ///< as on the command line
    BootForecast forecast;
};

class WhatIf
{
public:
    WhatIf(const BootRecord &record, const ModuleList &modules)
        : m_record(record)
        , m_modules(modules)
        , m_moduleNames(moduleNames(modules))
    {
        for (const BootStep &step : record.steps) {
            m_stepNames << step.name;
        }
    }

    [[nodiscard]] Trial trial(const QStringList &words) const
    {
        LaunchingAhead ahead;
        const QMap<QString, QString> section = PlatformIni::section(Components::applicationManager);
        ahead.atOnce = Parameters::read(section, [](auto &, auto &) {}).launchesAhead;
        ahead.counted = quint64(ModuleLimits().launchAhead) * 1000;
        for (const QString &word : words) {
            read(word, ahead);
        }
        return {words.join(QLatin1Char(' ')), forecastBoot(m_record, m_modules, ahead)};
    }

    /// Those that gain something, the best one first.
    [[nodiscard]] QList<Trial> ranking() const
    {
        QStringList candidates;
        for (const BootStep &step : m_record.steps) {
            candidates << (step.modules.size() > 1 ? QStringList(parallelWord + step.name) : QStringList());
        }
        const QList<BootModule> slowest = m_record.slowest(modulesTried);
        for (const BootModule &module : slowest) {
            if (module.name != Components::webClient) {
                candidates << earlyWord + module.name + QLatin1Char(':');
            }
        }
        QList<Trial> trials;
        QStringList gaining;
        for (const QString &word : qAsConst(candidates)) {
            const Trial one = trial({word});
            if (one.forecast.total + leastGain <= m_record.total) {
                trials << one;
                gaining << word;
            }
        }
        std::stable_sort(trials.begin(), trials.end(), [](const Trial &one, const Trial &other) {
            return one.forecast.total < other.forecast.total;
        });
        if (trials.size() > 1) {
            trials.prepend(trial(gaining));
        }
        return trials;
    }

private:
    void read(const QString &word, LaunchingAhead &ahead) const
    {
        const auto part = [&word](int position) {
            return word.mid(position).split(QLatin1Char(','), Qt::SkipEmptyParts);
        };
        if (word.startsWith(parallelWord)) {
            const QStringList steps = part(parallelWord.size());
            for (const QString &step : steps) {
                ahead.parallel.insert(checked(step, m_stepNames, QStringLiteral("step")));
            }
        } else if (word.startsWith(earlyWord)) {
            const QString module = word.mid(earlyWord.size()).section(QLatin1Char(':'), 0, 0);
            const QStringList after = part(earlyWord.size() + module.size() + 1);
            for (const QString &name : after) {
                static_cast<void>(checked(name, m_moduleNames, QStringLiteral("module")));
            }
            ahead.early.insert(checked(module, m_moduleNames, QStringLiteral("module")), after);
        } else {
            throw Failure(ExitStatus::Usage,
                          QStringLiteral("'%1' is neither parallel=STEP[,STEP...] nor early=MODULE:[AFTER[,AFTER...]]")
                              .arg(Console::printable(word)));
        }
    }

    [[nodiscard]] static QString checked(const QString &name, const QStringList &names, const QString &kind)
    {
        if (!names.contains(name)) {
            throw Failure(ExitStatus::Usage,
                          QStringLiteral("there is no %1 '%2'%3")
                              .arg(kind, Console::printable(name), Console::printable(spellingHint(name, names))));
        }
        return name;
    }

    const BootRecord &m_record;
    const ModuleList &m_modules;
    const QStringList m_moduleNames;
    QStringList m_stepNames;
};

/// Positive if the forecast is shorter.
qint64 gainOf(const BootForecast &forecast, const BootRecord &record)
{
    return qint64(record.total) - qint64(forecast.total);
}

QString percentage(qint64 gain, const BootRecord &record)
{
    return QStringLiteral("%1 %").arg(record.total > 0 ? qRound(100.0 * double(gain) / double(record.total)) : 0);
}

QString gainText(qint64 gain, const BootRecord &record)
{
    return QStringLiteral("%1 %2 (%3)")
        .arg(Units::duration(quint64(qAbs(gain))), gain < 0 ? QStringLiteral("more") : QStringLiteral("less"),
             percentage(qAbs(gain), record));
}

Table chainTable(const BootForecast &forecast)
{
    const auto right = Table::Align::Right;
    Table table({{QStringLiteral("LAUNCHED AT"), QStringLiteral("launched"), right},
                 {QStringLiteral("TAKES"), QStringLiteral("duration"), right},
                 {QStringLiteral("MODULE"), QStringLiteral("name")},
                 {QStringLiteral("STEP"), QStringLiteral("step")}});
    for (const BootModule &module : forecast.chain) {
        table.add({durationCell(module.launched), durationCell(module.duration()), module.name, module.step});
    }
    return table;
}

Table rankingTable(const QList<Trial> &trials, const BootRecord &record)
{
    const auto right = Table::Align::Right;
    Table table({{QStringLiteral("EXPECTED"), QStringLiteral("total"), right},
                 {QStringLiteral("GAIN"), QStringLiteral("gain"), right},
                 {QString(), QStringLiteral("percent"), right},
                 {QStringLiteral("WITH"), QStringLiteral("words"), Table::Align::Left, true}});
    for (const Trial &one : trials) {
        const bool isAll = trials.size() > 1 && &one == &trials.first();
        const qint64 gain = gainOf(one.forecast, record);
        table.add({durationCell(one.forecast.total), durationCell(quint64(gain)), percentage(gain, record),
                   Table::Cell(isAll ? QStringLiteral("all of these") : one.words, QJsonValue(one.words))});
    }
    return table;
}

void printTrial(const Trial &trial, const BootRecord &record)
{
    Console::writeLine(QStringLiteral("The start-up took %1. Expected with these words: %2, %3.\n\nThe chain that "
                                      "then sets the time:")
                           .arg(Units::duration(record.total), Units::duration(trial.forecast.total),
                                gainText(gainOf(trial.forecast, record), record)));
    chainTable(trial.forecast).print(false);
}

void printRanking(const QList<Trial> &trials, const BootRecord &record)
{
    Console::writeLine(QStringLiteral("The start-up took %1.%2")
                           .arg(Units::duration(record.total),
                                trials.isEmpty() ? QStringLiteral(" No step and no module gains anything alone.")
                                                 : QStringLiteral(" Expected:\n")));
    if (!trials.isEmpty()) {
        rankingTable(trials, record).print(false);
    }
}

} // namespace

void printWhatIf(const BootRecord &record, const ModuleList &modules, const QStringList &words, bool asJson)
{
    if (!record.isComplete) {
        throw Failure(ExitStatus::Failed, QStringLiteral("the start-up is not complete"));
    }
    const WhatIf whatIf(record, modules);
    const QList<Trial> trials = words.isEmpty() ? whatIf.ranking() : QList<Trial>{whatIf.trial(words)};
    if (asJson) {
        QJsonObject object{{QStringLiteral("total"), qint64(record.total)},
                           {QStringLiteral("trials"), rankingTable(trials, record).json()}};
        if (!words.isEmpty()) {
            object.insert(QStringLiteral("chain"), chainTable(trials.first().forecast).json());
        }
        Console::writeJson(QJsonDocument(object));
        return;
    }
    if (words.isEmpty()) {
        printRanking(trials, record);
    } else {
        printTrial(trials.first(), record);
    }
    if (record.hasOverlaps()) {
        Console::writeLine(QStringLiteral("\nModules were launched ahead in this start-up. The forecast assumes only "
                                          "the words of the command."));
    }
}
