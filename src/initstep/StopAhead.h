#ifndef STOP_AHEAD_H
#define STOP_AHEAD_H

#include <QList>
#include <QObject>
#include <QSet>

class Module;

/**
 * Asks the modules of a parallel step to end before the walk arrives at them: those without running dependents at once,
 * the others when the last of their dependents has ended. Each has its own limit.
 *
 * It lives as long as its walk, which takes the result of each stop that was begun here. What is still starting, or is
 * being stopped by somebody else, is left to the walk.
 */
class StopAhead : public QObject
{
    Q_OBJECT

public:
    /// Of everything below these nodes, themselves included.
    explicit StopAhead(const QList<Module *> &nodes);

    /// Whether a stop of the module was begun here whose result nobody has taken; the caller takes it.
    [[nodiscard]] bool take(Module &module) { return m_begun.remove(&module); }

private:
    void note(Module *module);
    void examine(Module *module);
    void stopReady();

    QSet<Module *> m_modules;
    QList<Module *> m_examine; ///< may have become ready to be stopped
    QSet<Module *> m_begun;
    bool m_queued = false;
};

#endif
