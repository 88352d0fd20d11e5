#include "manager/Inspection.h"

#include "manager/ApplicationManager.h"

#include <jov/Log.h>

#include <QDBusMetaType>

namespace {

/**
 * QtDBus takes a written property for done, unless the class answers through the status that comes with the call that
 * it was not: a bad log level is refused so, and its caller gets an error instead of a success without effect.
 */
class CheckedInspection : public Inspection
{
public:
    using Inspection::Inspection;

    int qt_metacall(QMetaObject::Call call, int id, void **arguments) override
    {
        static const int logLevel = staticMetaObject.indexOfProperty("LogLevel");
        if (call == QMetaObject::WriteProperty && id == logLevel && !isLogLevel(*static_cast<int *>(arguments[0]))) {
            *static_cast<int *>(arguments[2]) = 0;
        }
        return Inspection::qt_metacall(call, id, arguments);
    }
};

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
    return {{QStringLiteral("Name"), record.getName()},
            {QStringLiteral("Step"), record.getInitStep()},
            {QStringLiteral("State"), record.getState()},
            {QStringLiteral("Status"), record.getStatus()},
            {QStringLiteral("Pid"), record.getID().toUInt()},
            {QStringLiteral("Starts"), history.starts},
            {QStringLiteral("MaxMemory"), record.getMaxMemory()},
            {QStringLiteral("ExitCode"), history.exitCode},
            {QStringLiteral("Dependencies"), record.getDependencies()},
            {QStringLiteral("Dependents"), dependents(step, record.getName())},
            {QStringLiteral("LaunchedAt"), history.launchedAt},
            {QStringLiteral("ReadyAt"), history.readyAt},
            {QStringLiteral("ExitedAt"), history.exitedAt}};
}

} // namespace

Inspection::Inspection(ApplicationManager &manager)
    : QDBusAbstractAdaptor(&manager)
    , m_manager(manager)
{
    qDBusRegisterMetaType<ListOfMaps>();
    connect(&manager.journal(), &Journal::moduleStateChanged, this, &Inspection::ModuleStateChanged);
    connect(&manager.journal(), &Journal::stepDone, this,
            [this](const QString &name, int value) { Q_EMIT StepDone(value, name); });
}

void Inspection::create(ApplicationManager &manager)
{
    new CheckedInspection(manager);
}

int Inspection::currentStep() const
{
    return m_manager.currentStep();
}

bool Inspection::startFailed() const
{
    return m_manager.startFailed();
}

bool Inspection::initInProgress() const
{
    return m_manager.initInProgress();
}

int Inspection::logLevel() const
{
    return logger().level();
}

void Inspection::setLogLevel(int level)
{
    if (!isLogLevel(level)) {
        Log::warning("log level %1 refused: the levels are 0 to 7", level);
        return;
    }
    Log::info("log level %1, it was %2", level, logger().level());
    logger().setLevel(level);
}

ListOfMaps Inspection::ListModules() const
{
    ListOfMaps modules;
    for (const auto &[name, record] : m_manager.catalogue().applicationMap) {
        if (record) {
            const InitStep *step = m_manager.steps().getStepByName(record->getInitStep());
            modules << describe(*record, step, m_manager.journal().module(name));
        }
    }
    return modules;
}

ListOfMaps Inspection::ListSteps() const
{
    ListOfMaps steps;
    for (const InitStep *step = m_manager.steps().firstStep; step; step = step->getNext()) {
        const Journal::StepHistory history = m_manager.journal().step(step->getName());
        steps << QVariantMap{{QStringLiteral("Name"), step->getName()},
                             {QStringLiteral("Value"), step->getValue()},
                             {QStringLiteral("ShowHomepage"), step->getShowHomepage()},
                             {QStringLiteral("Modules"), QStringList(step->applications.keys())},
                             {QStringLiteral("StartedAt"), history.startedAt},
                             {QStringLiteral("DoneAt"), history.doneAt}};
    }
    return steps;
}

ListOfMaps Inspection::GetTimeline() const
{
    ListOfMaps entries;
    for (const Timeline::Entry &entry : m_manager.journal().timeline().entries()) {
        entries << QVariantMap{{QStringLiteral("Time"), entry.time},
                               {QStringLiteral("Event"), entry.event},
                               {QStringLiteral("Name"), entry.name}};
    }
    return entries;
}
