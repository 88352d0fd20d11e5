#ifndef CONTROL_OPERATIONS_H
#define CONTROL_OPERATIONS_H

#include "monitoring/MemoryWatchdog.h"

#include <QString>
#include <QStringList>

class Inventory;
class Journal;
class SupervisionState;
struct StartContext;

/**
 * The operations that start and stop modules: one, some or all. They return when what they began has settled; until
 * then the event loop runs.
 */
class ControlOperations : public RestartOrders
{
public:
    ControlOperations(SupervisionState &state, Inventory &inventory, Journal &journal, const StartContext &context)
        : m_state(state)
        , m_inventory(inventory)
        , m_journal(journal)
        , m_context(context)
    { }

    /// The counts are those of InitStep, added up.
    int startAll() override;
    void rebootComes(const QVariantMap &reason) override;
    void rebootAccepted() override;
    void rebootRefused() override;
    int stopAll();
    /// False when no step holds the module, or when it may not start yet.
    bool startModule(const QString &moduleName);
    /// With its dependents and all later steps. False when no step holds the module.
    bool stopModule(const QString &moduleName);
    bool stopModuleAlone(const QString &moduleName) override;
    void restartModule(const QString &moduleName);
    void restartModules(const QStringList &moduleNames);

private:
    SupervisionState &m_state;
    Inventory &m_inventory;
    Journal &m_journal;
    const StartContext &m_context;
};

#endif
