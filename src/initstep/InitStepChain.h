#ifndef INIT_STEP_CHAIN_H
#define INIT_STEP_CHAIN_H

#include "initstep/InitStep.h"

#include <QHash>

#include <map>
#include <memory>
#include <vector>

/**
 * The chain of init steps, in ascending order of their value when the file lists them so.
 *
 * The chain owns every step that was ever added until clear(), also one that the links do not reach any more: a step
 * below the head becomes head and tail at once, and what is added next follows it. `lastStep` stays null while a single
 * step was added; use last() wherever the last step is meant.
 */
class InitStepChain
{
public:
    InitStepChain() = default;
    ~InitStepChain() { release(); }
    InitStepChain(const InitStepChain &) = delete;
    InitStepChain &operator=(const InitStepChain &) = delete;

    /// Null, with a warning, when the name or the value is taken or no place is found.
    InitStep *addStep(const QString &name, int value, bool showHomepage);
    [[nodiscard]] InitStep *getStepByName(const QString &name) const;
    [[nodiscard]] InitStep *getStepByValue(int value) const;
    /// The step of the smallest value above `value`; null when there is none.
    [[nodiscard]] InitStep *getStepAbove(int value) const;
    /// The last step, or the only one.
    [[nodiscard]] InitStep *last() const { return lastStep ? lastStep : firstStep; }
    /// Of all steps, in their order.
    [[nodiscard]] QStringList moduleNames() const;
    /// Destroys all steps with their forests. Nothing may be waiting inside one.
    void clearInitSteps();

    InitStep *firstStep = nullptr;
    InitStep *lastStep = nullptr;

private:
    bool integrate(InitStep &step);
    bool insertBetween(InitStep &step);
    void index(InitStep &step);
    void release();

    std::vector<std::unique_ptr<InitStep>> m_steps;
    // The steps that the links reach.
    QHash<QString, InitStep *> m_byName;
    std::map<int, InitStep *> m_byValue;
};

#endif
