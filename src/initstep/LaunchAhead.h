#ifndef LAUNCH_AHEAD_H
#define LAUNCH_AHEAD_H

#include <QHash>
#include <QObject>
#include <QSet>
#include <QString>
#include <QStringList>

#include <memory>
#include <set>
#include <utility>

class Catalogue;
class InitStep;
class InitStepChain;
class Module;
class SupervisionState;

/**
 * Launches modules before the walk arrives at them, as soon as the modules that they wait for run.
 *
 * Two words in the files allow it. In a step with `parallel`, a module waits for its dependencies only, from the start
 * of the step on. A module with `early` also waits for the modules that it names, of any step, and can be launched
 * before its step begins, up to a ceiling.
 *
 * The walk is not changed by it: it awaits a module that was launched ahead instead of starting it (StartWalk). A
 * module is launched ahead at most once in a walk over the steps, and never after the walk or a stop was there.
 *
 * Launches follow in a queued call when a module has changed, never inside the change, in the order of the steps and
 * names. It holds names, and looks up the modules when it needs them: clear() is called before the lists are cleared.
 */
class LaunchAhead : public QObject
{
    Q_OBJECT

public:
    LaunchAhead(const SupervisionState &state, const Catalogue &catalogue, const InitStepChain &steps);

    /// A walk over steps: while it lives, the early modules of its steps may be launched. Walks nest.
    class Walk
    {
    public:
        /// Over the steps with these values, and nothing is allowed yet.
        Walk(LaunchAhead &ahead, int first, int last);
        ~Walk();
        Q_DISABLE_COPY(Walk)

        /// Early modules may be launched in steps up to this value.
        void allowUpTo(int value);

    private:
        LaunchAhead &m_ahead;
        const int m_outerCeiling;
    };

    /// The walk is about to start the step, which is parallel.
    void beginStep(const InitStep &step);
    /// The walk has started the step: what is not launched is left to later walks.
    void endStep(const InitStep &step);
    /// Launches nothing more in the walks that are in progress.
    void clear();

private:
    struct Candidate
    {
        int step; ///< the value of its step
        QStringList needs; ///< must run
        bool early; ///< held by the ceiling
    };

    void addEarly(int first, int last);
    void add(const QString &name, const Candidate &candidate);
    void watch(const QString &name);
    void note(const QString &name);
    void examine(const QString &name);
    void examineLater();
    void launchReady();
    void launch(Module &module);
    void settled(const QString &name);
    [[nodiscard]] bool isReady(const Candidate &candidate, const Module *module) const;
    [[nodiscard]] Module *find(const QString &name) const;
    [[nodiscard]] bool isRunning(const QString &name) const;

    const SupervisionState &m_state;
    const Catalogue &m_catalogue;
    const InitStepChain &m_steps;
    QHash<QString, Candidate> m_candidates;
    QMultiHash<QString, QString> m_waiting; ///< for a module to run: candidates
    std::set<std::pair<int, QString>> m_examine; ///< candidates that may have become ready, with the value of the step
    QSet<QString> m_launched;
    QSet<QString> m_underWay; ///< launched, not settled, and counted by the limit
    std::unique_ptr<QObject> m_links; ///< receives what the watched modules emit
    QSet<QString> m_watched;
    int m_walks = 0;
    int m_ceiling;
    bool m_queued = false;
};

#endif
