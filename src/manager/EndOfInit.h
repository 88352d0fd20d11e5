#ifndef END_OF_INIT_H
#define END_OF_INIT_H

#include "initstep/InitStep.h"

#include <QObject>

class BusAccess;
class Journal;
class JovEvent;
class MemoryWatchdog;
class SettingsAccess;

/// The end of the initialisation: once the step that shows the home page has been started, "end_of_init" is sent and
/// the watch over the memory begins.
class EndOfInit : public QObject, public HomePage
{
    Q_OBJECT

public:
    EndOfInit(SupervisionState &state, BusAccess &bus, Journal &journal, SettingsAccess &settings,
              MemoryWatchdog &watchdog)
        : m_state(state)
        , m_bus(bus)
        , m_journal(journal)
        , m_settings(settings)
        , m_watchdog(watchdog)
    { }

    void starting() override;
    void started() override;

public Q_SLOTS:
    /// A remote display has its presentation. None is ever waited for, so this only ends the subscription.
    void remoteDisplayPresentationready(const JovEvent &event);

private:
    SupervisionState &m_state;
    BusAccess &m_bus;
    Journal &m_journal;
    SettingsAccess &m_settings;
    MemoryWatchdog &m_watchdog;
};

#endif
