#ifndef STARTUP_PROGRESSION_H
#define STARTUP_PROGRESSION_H

#include <QObject>

#include <optional>

class BusAccess;
class InitStepChain;
class MandatorySettings;
class ParentReport;
class SupervisionState;
struct StartContext;

/**
 * The walk through the numbered steps of the start-up.
 *
 * The step file says how far to go at once; "init_step" events of the boot sequence continue it, up to step 4; from 5
 * on it continues by itself, step by step, to the last. A pass starts, for each number it reaches, the step of
 * that value. The first pass that ends reports the result of the start-up to the waiting parent process.
 *
 * One pass runs at a time: an event during a pass is held until it ends, so that no step starts before the one
 * below it is done, and the current step never goes back. A pass that a restart interrupts goes on after it, from the
 * number that it had reached, and events are held until then. A stop interrupts it for good.
 */
class StartupProgression : public QObject
{
    Q_OBJECT

public:
    /// `context` is what the steps are started with.
    StartupProgression(SupervisionState &state, BusAccess &bus, InitStepChain &steps, const StartContext &context,
                       MandatorySettings &mandatorySettings, ParentReport &parentReport)
        : m_state(state)
        , m_bus(bus)
        , m_steps(steps)
        , m_context(context)
        , m_mandatorySettings(mandatorySettings)
        , m_parentReport(parentReport)
    { }

    /// Goes as far as the step file says, and listens to the events from then on.
    void begin(int target);
    void resumeAfterRestart();

    /// The number of the last step reached; 0 at first.
    [[nodiscard]] int currentStep() const { return m_currentStep; }

public Q_SLOTS:
    void slot_init_step(int stepNum);

private:
    void drive(int stepNum);
    [[nodiscard]] std::optional<int> nextTarget();
    bool pass(int from, int target);
    [[nodiscard]] qint64 following(int number, int target) const;
    void interrupted(int target);
    void passDone(int target);
    void report();

    SupervisionState &m_state;
    BusAccess &m_bus;
    InitStepChain &m_steps;
    const StartContext &m_context;
    MandatorySettings &m_mandatorySettings;
    ParentReport &m_parentReport;
    int m_currentStep = 0;
    bool m_underWay = false;
    bool m_byItself = false; ///< step 5 has been reached
    std::optional<int> m_held; ///< the highest step asked for during the pass
    std::optional<int> m_interruptedTarget; ///< of the pass that a restart interrupted
};

#endif
