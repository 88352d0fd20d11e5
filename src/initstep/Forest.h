#ifndef FOREST_H
#define FOREST_H

#include <QSet>
#include <QString>
#include <QStringList>

class InitStep;
class Module;
struct ModuleContext;

/**
 * Arranges one step's modules into its dependency forest.
 *
 * Thought of as branches: each module of the step, in ascending order of name, heads all chains of dependencies down
 * from it; the first chain that leads to a missing module or back into itself fails the step. There can be
 * exponentially many chains, so they are not enumerated: each module is gone into once, and a module that was found
 * sound before cannot be part of a chain that fails. Work and memory are linear in modules and dependencies, and
 * nothing recurses.
 */
class Forest
{
public:
    Forest(InitStep &step, const ModuleContext &context)
        : m_step(step)
        , m_context(context)
    { }

    /// False, with an error line, when a dependency is missing in the step or dependencies form a cycle.
    [[nodiscard]] bool build();

private:
    struct Level
    {
        QString name;
        QStringList dependencies;
        int next = 0; ///< the dependency to go into next
    };

    bool descend(const QString &head);
    bool enter(const QString &name);
    void leave();
    Module &node(const QString &name);
    void logBranches(const QString &head) const;
    [[nodiscard]] QStringList path() const;

    InitStep &m_step;
    const ModuleContext &m_context;
    QList<Level> m_path;
    QSet<QString> m_onPath;
    QSet<QString> m_done;
    QString m_failure; ///< why the head gone into last is not sound
};

#endif
