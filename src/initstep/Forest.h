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
 * Each module of the step, in ascending order of name, is the head of all chains of dependencies that begin with it;
 * the first chain that reaches a missing module or itself fails the step. There can be exponentially many chains, so
 * they are not enumerated: each module is entered once, and a module that was found valid cannot be part of a chain
 * that fails. Work and memory are linear in modules and dependencies, and
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
        int next = 0; ///< the dependency to enter next
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
    QString m_failure; ///< why the last head is not valid
};

#endif
