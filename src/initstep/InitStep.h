#ifndef INIT_STEP_H
#define INIT_STEP_H

#include "module/Module.h"

#include <QList>
#include <QMap>
#include <QString>

#include <map>
#include <memory>

class ApplicationRecord;
class LaunchAhead;
class SupervisionObserver;
class SupervisionState;

/// What follows the start of the step that shows the home page.
class HomePage
{
public:
    virtual ~HomePage() = default;

    /// The step is about to start.
    virtual void starting() = 0;
    /// The step has been started.
    virtual void started() = 0;
};

/// What a start of a step asks, and whom it reports to.
struct StartContext
{
    const SupervisionState &state;
    SupervisionObserver &observer;
    HomePage &homePage;
    LaunchAhead &ahead;
};

/**
 * One step of the start-up: the modules that start together, as a forest by dependency. A module without dependencies
 * is a root; every other hangs under each module that it depends on.
 *
 * The step owns its nodes; the records belong to the catalogue; the links to its neighbours are set by InitStepChain.
 *
 * A walk starts the roots in the order of `roots`, and below each node its sons in ascending order of name, a son only
 * when all its parents run. It ends at the next root or son once the stop flag is set. Stopping goes the other way
 * round, sons before parents, and always to the end. Both turn the event loop while they wait for a module: nodes are
 * safe during a wait (nothing is cleared while a wait is on the stack), states are not.
 *
 * The counts are what the walks have always answered: a start counts each module started plus each son visited, a stop
 * each module that ended when asked. They saturate.
 */
class InitStep
{
public:
    InitStep(const QString &name, int value, bool showHomepage);
    ~InitStep();
    InitStep(const InitStep &) = delete;
    InitStep &operator=(const InitStep &) = delete;

    [[nodiscard]] QString getName() const { return m_name; }
    [[nodiscard]] int getValue() const { return m_value; }
    [[nodiscard]] bool getShowHomepage() const { return m_showHomepage; }
    /// Its modules may be launched as soon as their dependencies run, ahead of the walk.
    [[nodiscard]] bool isParallel() const { return m_parallel; }
    void setParallel(bool parallel) { m_parallel = parallel; }
    [[nodiscard]] InitStep *getPrev() const { return m_prev; }
    void setPrev(InitStep *step) { m_prev = step; }
    [[nodiscard]] InitStep *getNext() const { return m_next; }
    void setNext(InitStep *step) { m_next = step; }

    /// Takes a native module in, in the place of an earlier record of its name; web applications are ignored.
    void insertApplication(ApplicationRecord *record);
    /// Arranges the applications into the forest. False, with the reason logged, on a missing dependency or a cycle.
    [[nodiscard]] bool buildTree(const ModuleContext &context);

    int startAll(const StartContext &context);
    bool startApplication(const QString &name);
    int stopAll(bool recursive);
    /// With dependents: the following steps and everything below the module are stopped first.
    bool stopApplication(const QString &name, bool withDependents);

    /// Whether all parents of the node run; warns of each one that does not. For a walk, a parent that was launched
    /// ahead does not run until the walk has arrived at it: so counts and warnings do not depend on how fast it starts.
    [[nodiscard]] bool canStart(const Module &node, bool inWalk = false) const;

    QMap<QString, ApplicationRecord *> applications;
    /// An entry may hold nothing: looking up an unknown name leaves one.
    std::map<QString, std::unique_ptr<Module>> nodes;
    QList<Module *> roots;

private:
    qint64 startForest(const SupervisionState &state);
    qint64 stopForest();

    const QString m_name;
    const int m_value;
    const bool m_showHomepage;
    bool m_parallel = false;
    InitStep *m_prev = nullptr;
    InitStep *m_next = nullptr;
};

#endif
