#include "manager/Inspection.h"

#include "contract/InspectionNames.h"
#include "manager/Inventory.h"
#include "manager/Journal.h"
#include "manager/StartupProgression.h"
#include "supervision/SupervisionState.h"

#include <jov/Log.h>

namespace Key = Inspect::Key;

namespace {

QStringList dependents(const InitStep *step, const QString &name)
{
    if (!step) {
        return {};
    }
    const auto found = step->nodes.find(name);
    return found == step->nodes.end() || !found->second ? QStringList() : found->second->getSons().keys();
}

QVariantMap describe(const ApplicationRecord &record, const InitStep *step, const Journal::ModuleHistory &history)
{
    return {{Key::name, record.getName()},
            {Key::step, record.getInitStep()},
            {Key::state, record.getState()},
            {Key::status, record.getStatus()},
            {Key::pid, record.getID().toUInt()},
            {Key::starts, history.starts},
            {Key::maxMemory, record.getMaxMemory().figure()},
            {Key::exits, history.exits},
            {Key::exitsBySignal, history.exitsBySignal},
            {Key::exitCode, history.exitCode},
            {Key::exitedBySignal, history.exitedBySignal},
            {Key::dependencies, record.getDependencies()},
            {Key::dependents, dependents(step, record.getName())},
            {Key::launchedAt, history.launchedAt},
            {Key::readyAt, history.readyAt},
            {Key::exitedAt, history.exitedAt}};
}

} // namespace

Inspection::Inspection(QObject *manager, const SupervisionState &state, Inventory &inventory, const Journal &journal,
                       const StartupProgression &progression)
    : QObject(manager)
    , m_state(state)
    , m_inventory(inventory)
    , m_journal(journal)
    , m_progression(progression)
{
    // moc's table knows the type of a result by its name alone.
    qRegisterMetaType<ListOfMaps>("ListOfMaps");
    connect(&journal, &Journal::moduleStateChanged, this,
            [this](const QString &name, ModuleState oldState, ModuleState newState) {
                Q_EMIT ModuleStateChanged(name, stateText(oldState), stateText(newState));
            });
    connect(&journal, &Journal::stepDone, this,
            [this](const QString &name, int value) { Q_EMIT StepDone(value, name); });
}

void Inspection::create(QObject *manager, const SupervisionState &state, Inventory &inventory, const Journal &journal,
                        const StartupProgression &progression)
{
    new Inspection(manager, state, inventory, journal, progression);
}

int Inspection::currentStep() const
{
    return m_progression.currentStep();
}

bool Inspection::startFailed() const
{
    return m_state.startFailed();
}

bool Inspection::initInProgress() const
{
    return m_state.initInProgress();
}

bool Inspection::rebootRequested() const
{
    return m_state.isRebootRequested();
}

QString Inspection::version() const
{
    return QStringLiteral(JOV_VERSION);
}

qulonglong Inspection::startedAt() const
{
    return m_journal.startedAt();
}

qulonglong Inspection::homepageAt() const
{
    return m_journal.endOfInitAt();
}

qulonglong Inspection::completeAt() const
{
    return m_journal.completeAt();
}

int Inspection::logLevel() const
{
    return logger().level();
}

void Inspection::setLogLevel(int level)
{
    if (level < 0 || level > 7) {
        Log::warning("log level %1 refused: the levels are 0 to 7", level);
        return;
    }
    Log::info("log level %1, it was %2", level, logger().level());
    logger().setLevel(level);
}

ListOfMaps Inspection::ListModules() const
{
    ListOfMaps modules;
    for (const auto &[name, record] : m_inventory.catalogue().applicationMap) {
        if (record) {
            const InitStep *step = m_inventory.steps().getStepByName(record->getInitStep());
            modules << describe(*record, step, m_journal.module(name));
        }
    }
    return modules;
}

ListOfMaps Inspection::ListSteps() const
{
    ListOfMaps steps;
    for (const InitStep *step = m_inventory.steps().firstStep; step; step = step->getNext()) {
        const Journal::StepHistory history = m_journal.step(step->getName());
        steps << QVariantMap{{Key::name, step->getName()},
                             {Key::value, step->getValue()},
                             {Key::showHomepage, step->getShowHomepage()},
                             {Key::modules, QStringList(step->applications.keys())},
                             {Key::startedAt, history.startedAt},
                             {Key::doneAt, history.doneAt}};
    }
    return steps;
}

ListOfMaps Inspection::GetTimeline() const
{
    ListOfMaps entries;
    for (const Timeline::Entry &entry : m_journal.timeline().entries()) {
        entries << QVariantMap{{Key::time, entry.time}, {Key::event, entry.event}, {Key::name, entry.name}};
    }
    return entries;
}
