#include "manager/EndOfInit.h"

#include "contract/Events.h"
#include "manager/Journal.h"
#include "manager/SettingsAccess.h"
#include "monitoring/MemoryWatchdog.h"
#include "supervision/BusAccess.h"
#include "supervision/SupervisionState.h"

#include <jov/JovEvent.h>

void EndOfInit::starting()
{
    m_bus.subscribeEvent(Events::presentationReady, this, SLOT(remoteDisplayPresentationready(JovEvent)));
}

void EndOfInit::started()
{
    m_bus.notifyEvent(Events::endOfInit);
    if (m_state.initInProgress()) {
        m_settings.getMonitoringSettings();
    }
    m_state.endInit();
    m_journal.noteEndOfInit();
    m_watchdog.startMonitoring();
}

void EndOfInit::remoteDisplayPresentationready(const JovEvent & /*event*/)
{
    m_bus.unsubscribeEvent(Events::presentationReady, this, SLOT(remoteDisplayPresentationready(JovEvent)));
}
