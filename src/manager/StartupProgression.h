#ifndef STARTUP_PROGRESSION_H
#define STARTUP_PROGRESSION_H

#include <QString>

#include <optional>

class ApplicationManager;
class InitStepChain;

/**
 * The walk through the numbered steps of the start-up.
 *
 * The step file says how far to go at once; "init_step" events of the boot sequence take it further, up to step 4; once
 * 5 is reached it goes on by itself, step by step, to the last. A pass starts, for each number it reaches, the step of
 * that value. The first pass that ends tells the waiting parent process how the start-up went.
 *
 * One pass runs at a time: an event that arrives meanwhile is held until it ends, so that no step starts before the one
 * below it is done, and the current step never goes back. A pass that a restart interrupts goes on after it, from the
 * number that it had reached, and events are held until then. A stop interrupts it for good.
 */
class StartupProgression
{
public:
    StartupProgression(ApplicationManager &manager, InitStepChain &steps)
        : m_manager(manager)
        , m_steps(steps)
    { }

    /// Reads the step file and goes as far as it says.
    void begin();
    void goTo(int stepNum);
    void resumeAfterRestart();

    /// The number of the last step reached; 0 at first.
    [[nodiscard]] int currentStep() const { return m_currentStep; }

private:
    void drive(int stepNum);
    [[nodiscard]] std::optional<int> nextTarget();
    bool pass(int from, int target);
    [[nodiscard]] qint64 following(int number, int target) const;
    void interrupted(int target);
    void passDone(int target);

    ApplicationManager &m_manager;
    InitStepChain &m_steps;
    int m_currentStep = 0;
    bool m_underWay = false;
    bool m_byItself = false; ///< step 5 has been reached
    std::optional<int> m_held; ///< the highest step asked for during the pass
    std::optional<int> m_interruptedTarget; ///< of the pass that a restart interrupted
};

/**
 * How far the step file `/tmp/step` (its first line, a decimal number) lets the start-up go at once: 0 when the line is
 * not a number; 999, that is through all steps, when there is no such file, it cannot be read, or its first line is
 * longer than 4,096 bytes. `path` is the file's path under the root prefix.
 */
[[nodiscard]] int readStepFile(const QString &path);

#endif
