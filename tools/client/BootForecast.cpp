#include "client/BootForecast.h"

#include "contract/Steps.h"

#include <QVector>
#include <queue>

#include <algorithm>
#include <limits>
#include <set>

namespace {

/// Events in the order of their times. What happens at an event is caused by the module that is named in it.
class Replay
{
public:
    Replay(const BootRecord &record, const ModuleList &modules, const LaunchingAhead &ahead)
        : m_record(record)
        , m_ahead(ahead)
        // Only a boot checks the settings before it goes above the steps of the infrastructure.
        , m_ceiling(record.isRestart ? std::numeric_limits<int>::max() : Steps::firstOwn - 1)
    {
        for (const ModuleInfo &module : modules) {
            m_dependencies.insert(module.name, module.dependencies);
        }
        planWalk();
    }

    BootForecast run()
    {
        for (const BootStep &step : m_record.steps) {
            for (const BootModule &module : step.modules) {
                const auto early = m_ahead.early.constFind(module.name);
                if (early != m_ahead.early.cend()) {
                    add(module.name, {step.value, m_dependencies.value(module.name) + *early, true});
                }
            }
        }
        walk();
        launchReady();
        while (!m_events.empty() && !m_isDone) {
            const Event event = m_events.top();
            m_events.pop();
            m_now = event.time;
            m_cause = event.module;
            happen(event);
            launchReady();
        }
        return {m_now + m_rest, chain()};
    }

private:
    enum class Kind { Settled, NoLongerCounted, WalkGoesOn };

    struct Event
    {
        quint64 time;
        Kind kind;
        QString module; ///< of WalkGoesOn: the one that the walk waited for last

        bool operator<(const Event &other) const { return time > other.time; } // the earliest is the top
    };

    /// The begin of a step, or a module in it. `gap` is the supervisor's time before it.
    struct Visit
    {
        const BootStep *step;
        const BootModule *module;
        quint64 gap;
    };

    struct Candidate
    {
        int step;
        QStringList needs;
        bool isEarly;
    };

    void planWalk()
    {
        quint64 last = 0;
        const auto gapTo = [&last](quint64 time) { return time > last ? time - last : 0; };
        for (const BootStep &step : m_record.steps) {
            m_visits.append({&step, nullptr, gapTo(step.started)});
            last = qMax(last, step.started);
            for (const BootModule &module : step.modules) {
                m_visits.append({&step, &module, gapTo(module.launched)});
                m_modules.insert(module.name, module);
                last = qMax(last, module.until);
            }
        }
        m_rest = gapTo(m_record.total);
    }

    void happen(const Event &event)
    {
        if (event.kind == Kind::WalkGoesOn) {
            walk();
            return;
        }
        m_underWay.remove(event.module);
        if (event.kind == Kind::NoLongerCounted) {
            return;
        }
        m_settled.insert(event.module);
        for (auto waiting = m_waiting.constFind(event.module);
             waiting != m_waiting.cend() && waiting.key() == event.module; ++waiting) {
            examine(*waiting);
        }
        if (m_awaited == event.module) {
            m_awaited.clear();
            walk();
        }
    }

    /// On to the next module that the walk has to wait for.
    void walk()
    {
        for (; m_visit < m_visits.size(); ++m_visit) {
            const Visit &visit = m_visits.at(m_visit);
            const QString name = visit.module ? visit.module->name : QString();
            if (m_settled.contains(name)) {
                continue;
            }
            if (m_gapPassed != m_visit && visit.gap > 0 && !m_launched.contains(name)) {
                m_gapPassed = m_visit;
                m_events.push({m_now + visit.gap, Kind::WalkGoesOn, m_cause});
                return;
            }
            if (!visit.module) {
                begin(*visit.step);
                continue;
            }
            if (!m_launched.contains(name)) {
                launch(name);
            }
            m_awaited = name;
            ++m_visit;
            return;
        }
        m_isDone = true;
    }

    void begin(const BootStep &step)
    {
        if (step.value >= Steps::firstOwn && m_ceiling < std::numeric_limits<int>::max()) {
            m_ceiling = std::numeric_limits<int>::max();
            for (auto candidate = m_candidates.cbegin(); candidate != m_candidates.cend(); ++candidate) {
                examine(candidate.key());
            }
        }
        if (m_ahead.parallel.contains(step.name)) {
            for (const BootModule &module : step.modules) {
                add(module.name, {step.value, m_dependencies.value(module.name), false});
            }
        }
    }

    void add(const QString &name, const Candidate &candidate)
    {
        if (m_launched.contains(name)) {
            return;
        }
        m_candidates.insert(name, candidate);
        for (const QString &need : candidate.needs) {
            m_waiting.insert(need, name);
        }
        examine(name);
    }

    void examine(const QString &name)
    {
        const auto candidate = m_candidates.constFind(name);
        if (candidate != m_candidates.cend()) {
            m_examine.emplace(candidate->step, name);
        }
    }

    void launchReady()
    {
        while (!m_examine.empty() && m_underWay.size() < m_ahead.atOnce) {
            const QString name = m_examine.begin()->second;
            m_examine.erase(m_examine.begin());
            const auto candidate = m_candidates.constFind(name);
            if (candidate != m_candidates.cend() && isReady(*candidate)) {
                launch(name);
                m_underWay.insert(name);
                m_events.push({m_now + m_ahead.counted, Kind::NoLongerCounted, name});
            }
        }
    }

    [[nodiscard]] bool isReady(const Candidate &candidate) const
    {
        return (!candidate.isEarly || candidate.step <= m_ceiling)
            && std::all_of(candidate.needs.cbegin(), candidate.needs.cend(), [this](const QString &need) {
                   return m_settled.contains(need) && m_modules.constFind(need)->isReady;
               });
    }

    void launch(const QString &name)
    {
        m_candidates.remove(name);
        m_launched.insert(name);
        BootModule &module = m_modules[name];
        const quint64 duration = module.duration();
        module.launched = m_now;
        module.until = m_now + duration;
        m_causes.insert(name, m_cause);
        m_events.push({module.until, Kind::Settled, name});
    }

    [[nodiscard]] QList<BootModule> chain() const
    {
        QList<BootModule> chain;
        for (QString name = m_cause; !name.isEmpty(); name = m_causes.value(name)) {
            chain.prepend(m_modules.value(name));
        }
        return chain;
    }

    const BootRecord &m_record;
    const LaunchingAhead &m_ahead;
    QHash<QString, QStringList> m_dependencies;
    QVector<Visit> m_visits;
    quint64 m_rest = 0; ///< the supervisor's time after the last module
    int m_ceiling;

    std::priority_queue<Event> m_events;
    quint64 m_now = 0;
    QString m_cause;
    int m_visit = 0;
    int m_gapPassed = -1; ///< the visit before which the supervisor's time has passed
    QString m_awaited; ///< by the walk
    bool m_isDone = false;

    QHash<QString, Candidate> m_candidates;
    QMultiHash<QString, QString> m_waiting; ///< for a module: candidates
    std::set<std::pair<int, QString>> m_examine; ///< candidates that may have become ready
    QHash<QString, BootModule> m_modules;
    QHash<QString, QString> m_causes;
    QSet<QString> m_launched;
    QSet<QString> m_settled;
    QSet<QString> m_underWay;
};

} // namespace

BootForecast forecastBoot(const BootRecord &record, const ModuleList &modules, const LaunchingAhead &ahead)
{
    return Replay(record, modules, ahead).run();
}
