#include "manager/MandatorySettings.h"

#include "catalogue/Catalogue.h"
#include "contract/Components.h"
#include "contract/Events.h"
#include "contract/HistoryNames.h"
#include "supervision/BusAccess.h"
#include "supervision/SupervisionObserver.h"
#include "supervision/SupervisionState.h"

#include <jov/JovEvent.h>
#include <jov/Log.h>

namespace {

const char *const answerSlot = SLOT(checkMandatorySettingsSuccess(JovEvent));
const QString crashedMessage = QStringLiteral("SettingsManager crashed");

} // namespace

void MandatorySettings::reset()
{
    m_done = false;
    m_answered = false;
    m_failed = false;
}

bool MandatorySettings::isRunning() const
{
    const ApplicationRecord *record = m_catalogue.find(Components::settingsManager);
    return record && record->getModuleState() == ModuleState::Running;
}

void MandatorySettings::check()
{
    m_done = true;
    // The look-up leaves an empty entry; every loop over the catalogue skips those.
    if (!m_catalogue.applicationMap[Components::settingsManager]) {
        Log::error("SettingsManager not in list : no mandatory settings check");
        return;
    }
    if (!isRunning()) {
        Log::error("SettingsManager not started : no mandatory settings check");
        failStart(crashedMessage);
        return;
    }
    Log::debug("checkMandatorySettings");
    init_message(QStringLiteral("Checking mandatory settings"));
    m_bus.subscribeEvent(Events::mandatorySettingsChecked, this, answerSlot);
    m_bus.notifyEvent(Events::checkMandatorySettings);
    const quint64 generation = m_state.stopGeneration();
    const WaitLoop::Outcome outcome =
        m_state.waits().waitUntil([this] { return m_answered || m_state.startFailed() || !isRunning(); });
    // Its crash sets the stop flag, too: the request for a reboot does. A stop of everything ends it without a crash.
    const bool stopping =
        outcome == WaitLoop::Outcome::Released || m_state.isEnding() || m_state.stopGeneration() != generation;
    if (!stopping && !m_answered && !isRunning()) {
        Log::error("SettingsManager crashed");
        failStart(crashedMessage);
    } else if (stopping || m_state.startFailed()) {
        Log::debug("checkMandatorySettings interrupted (stopping)");
    } else {
        Log::debug("checkMandatorySettings succeed");
    }
}

void MandatorySettings::checkMandatorySettingsSuccess(const JovEvent &event)
{
    m_bus.unsubscribeEvent(Events::mandatorySettingsChecked, this, answerSlot);
    const bool reboot = event.getArgument(Events::reboot).toBool();
    Log::debug("checkMandatorySettingsSuccess");
    if (reboot) {
        failStart(QStringLiteral("Reboot in progress"));
    } else {
        init_message(QStringLiteral("Mandatory settings checked"));
    }
    m_answered = true;
}

void MandatorySettings::failStart(const QString &message)
{
    init_message(message);
    m_failed = true;
    m_state.failStart();
    m_observer.noteFailedStart({{History::Key::cause, QString(History::Cause::settings)}, {History::Key::by, message}});
}

void MandatorySettings::init_message(const QString &message)
{
    m_bus.notifyEvent(Events::initMessage, {{Events::message, message}});
}
