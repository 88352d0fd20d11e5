#include "client/BootAnalysis.h"

#include "contract/InspectionNames.h"

#include <QHash>
#include <QMap>
#include <QSet>
#include <QVector>

#include <algorithm>

namespace Happened = Inspect::Happened;

namespace {

bool isBegin(const TimelineEntry &entry)
{
    return entry.event == Happened::start || entry.event == Happened::restart;
}

/// Takes the first entry of each kind for a module or step: later ones do not belong to the start-up.
class Collector
{
public:
    Collector(const ModuleList &modules, const StepList &steps)
    {
        for (const StepInfo &step : steps) {
            BootStep boot;
            boot.name = step.name;
            boot.value = step.value;
            m_record.steps << boot;
        }
        for (const ModuleInfo &module : modules) {
            m_stepOf.insert(module.name, module.step);
        }
    }

    BootRecord collect(const TimelineList &timeline, quint64 now)
    {
        int first = timeline.size() - 1;
        while (first >= 0 && !isBegin(timeline.at(first))) {
            --first;
        }
        if (first < 0) {
            return m_record;
        }
        m_record.isKnown = true;
        m_record.isRestart = timeline.at(first).event == Happened::restart;
        const quint64 begin = timeline.at(first).time;
        bool isStopped = false;
        for (int i = first + 1; i < timeline.size() && !m_record.isComplete; ++i) {
            isStopped = timeline.at(i).event == Happened::stopAll;
            if (isStopped) {
                break;
            }
            m_record.total = timeline.at(i).time - begin;
            take(timeline.at(i).event, timeline.at(i).name, m_record.total);
        }
        if (!m_record.isComplete && !isStopped && now > begin) {
            m_record.total = now - begin;
        }
        finish();
        return m_record;
    }

private:
    void take(const QString &event, const QString &name, quint64 time)
    {
        if (event == Happened::endOfInit && m_record.homepage == 0) {
            m_record.homepage = time;
        } else if (event == Happened::stepStarted || event == Happened::stepDone) {
            takeStep(name, event == Happened::stepDone, time);
        } else if (event == Happened::launched && m_stepOf.contains(name) && !m_modules.contains(name)) {
            BootModule module;
            module.name = name;
            module.step = m_stepOf.value(name);
            module.launched = time;
            m_modules.insert(name, module);
            m_order << name;
        } else if (stateOf(event) == ModuleState::Running || stateOf(event) == ModuleState::Stopped) {
            const auto module = m_modules.find(name);
            if (module != m_modules.end() && module->until == 0) {
                module->until = time;
                module->isReady = stateOf(event) == ModuleState::Running;
            }
        }
    }

    void takeStep(const QString &name, bool isDone, quint64 time)
    {
        bool allDone = true;
        for (BootStep &step : m_record.steps) {
            if (step.name == name && !isDone && step.started == 0) {
                step.started = time;
            } else if (step.name == name && isDone && !step.isDone) {
                step.until = time;
                step.isDone = true;
            }
            allDone = allDone && step.isDone;
        }
        m_record.isComplete = allDone;
    }

    void finish()
    {
        for (const QString &name : qAsConst(m_order)) {
            BootModule &module = m_modules[name];
            module.until = module.until == 0 ? m_record.total : module.until;
            const auto step = std::find_if(m_record.steps.begin(), m_record.steps.end(),
                                           [&](const BootStep &candidate) { return candidate.name == module.step; });
            if (step != m_record.steps.end()) {
                step->modules << module;
            }
        }
        for (BootStep &step : m_record.steps) {
            step.until = step.started > 0 && !step.isDone ? m_record.total : step.until;
        }
    }

    BootRecord m_record;
    QHash<QString, QString> m_stepOf;
    QMap<QString, BootModule> m_modules;
    QStringList m_order;
};

/// Marks the slowest chain of the step and returns its length. One pass in the order of launches is enough, because
/// dependencies are launched first.
quint64 markCritical(BootStep &step, const QHash<QString, QStringList> &dependencies)
{
    struct Chain
    {
        quint64 length = 0;
        QString previous;
    };
    QHash<QString, Chain> chains;
    QString slowest;
    for (const BootModule &module : qAsConst(step.modules)) {
        Chain chain;
        const QStringList names = dependencies.value(module.name);
        for (const QString &name : names) {
            const auto before = chains.constFind(name);
            if (before != chains.cend() && before->length > chain.length) {
                chain = {before->length, name};
            }
        }
        chain.length += module.duration();
        chains.insert(module.name, chain);
        if (slowest.isEmpty() || chain.length > chains.value(slowest).length) {
            slowest = module.name;
        }
    }
    QSet<QString> marked;
    for (QString name = slowest; !name.isEmpty(); name = chains.value(name).previous) {
        marked.insert(name);
    }
    for (BootModule &module : step.modules) {
        module.isCritical = marked.contains(module.name);
    }
    return chains.value(slowest).length;
}

/// Marks the last module that settled, the one that settled last before its launch, and so on. Returns their length.
quint64 markWaitedFor(QList<BootStep> &steps)
{
    QVector<BootModule *> modules; // in the order in which they settled
    for (BootStep &step : steps) {
        for (BootModule &module : step.modules) {
            modules << &module;
        }
    }
    std::stable_sort(modules.begin(), modules.end(),
                     [](const BootModule *one, const BootModule *other) { return one->until < other->until; });
    quint64 length = 0;
    for (auto end = modules.end(); end != modules.begin();) {
        BootModule *module = *--end;
        module->isCritical = true;
        length += module->duration();
        end = std::upper_bound(modules.begin(), end, module->launched,
                               [](quint64 time, const BootModule *other) { return time < other->until; });
    }
    return length;
}

} // namespace

bool BootRecord::hasOverlaps() const
{
    QList<BootModule> modules = allModules();
    std::sort(modules.begin(), modules.end(),
              [](const BootModule &one, const BootModule &other) { return one.launched < other.launched; });
    return std::adjacent_find(modules.cbegin(), modules.cend(),
                              [](const BootModule &one, const BootModule &other) { return other.launched < one.until; })
        != modules.cend();
}

QList<BootModule> BootRecord::allModules() const
{
    QList<BootModule> all;
    for (const BootStep &step : steps) {
        all << step.modules;
    }
    return all;
}

QList<BootModule> BootRecord::slowest(int count) const
{
    QList<BootModule> modules = allModules();
    std::stable_sort(modules.begin(), modules.end(),
                     [](const BootModule &one, const BootModule &other) { return one.duration() > other.duration(); });
    return modules.mid(0, count);
}

void markCriticalChain(BootRecord &record, const QHash<QString, QStringList> &dependencies)
{
    if (record.hasOverlaps()) {
        record.critical = markWaitedFor(record.steps);
        return;
    }
    for (BootStep &step : record.steps) {
        record.critical += markCritical(step, dependencies);
    }
}

BootRecord analyseBoot(const TimelineList &timeline, const ModuleList &modules, const StepList &steps, quint64 now)
{
    BootRecord record = Collector(modules, steps).collect(timeline, now);
    QHash<QString, QStringList> dependencies;
    for (const ModuleInfo &module : modules) {
        dependencies.insert(module.name, module.dependencies);
    }
    markCriticalChain(record, dependencies);
    return record;
}
