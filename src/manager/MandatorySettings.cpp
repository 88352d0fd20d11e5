#include "manager/MandatorySettings.h"

#include "manager/ApplicationManager.h"
#include "supervision/WaitLoop.h"

#include <jov/Log.h>

namespace {

const QString settingsManager = QStringLiteral("SettingsManager");
const QString successEvent = QStringLiteral("checkMandatorySettingsSuccess");

} // namespace

void MandatorySettings::reset()
{
    m_done = false;
    m_answered = false;
    m_failed = false;
}

bool MandatorySettings::isRunning() const
{
    const ApplicationRecord *record = m_manager.catalogue().find(settingsManager);
    return record && record->getState() == ModuleState::Running;
}

void MandatorySettings::check()
{
    m_done = true;
    // The look-up leaves an empty entry; every loop over the catalogue skips those.
    if (!m_manager.catalogue().applicationMap[settingsManager]) {
        Log::error("SettingsManager not in list : no mandatory settings check");
        return;
    }
    if (!isRunning()) {
        Log::error("SettingsManager not started : no mandatory settings check");
        settingsManagerGone();
        return;
    }
    Log::debug("checkMandatorySettings");
    m_manager.init_message(QStringLiteral("Checking mandatory settings"));
    m_manager.subscribeEvent(successEvent, &m_manager, SLOT(checkMandatorySettingsSuccess(JovEvent)));
    m_manager.notifyEvent(QStringLiteral("checkMandatorySettings"), QVariantMap());
    const WaitLoop::Outcome outcome =
        m_manager.waits().waitUntil([this] { return m_answered || m_manager.startFailed() || !isRunning(); });
    if (outcome == WaitLoop::Outcome::Released || m_manager.startFailed()) {
        Log::debug("checkMandatorySettings interrupted (stopping)");
    } else if (!m_answered) {
        Log::error("SettingsManager crashed");
        settingsManagerGone();
    } else {
        Log::debug("checkMandatorySettings succeed");
    }
}

void MandatorySettings::settingsManagerGone()
{
    m_manager.init_message(QStringLiteral("SettingsManager crashed"));
    m_failed = true;
    m_manager.failStart();
}

void MandatorySettings::answered(const JovEvent &event)
{
    m_manager.unsubscribeEvent(successEvent, &m_manager, SLOT(checkMandatorySettingsSuccess(JovEvent)));
    const bool reboot = event.getArgument(QStringLiteral("reboot")).toBool();
    Log::debug("checkMandatorySettingsSuccess");
    if (reboot) {
        m_manager.init_message(QStringLiteral("Reboot in progress"));
        m_failed = true;
        m_manager.failStart();
    } else {
        m_manager.init_message(QStringLiteral("Mandatory settings checked"));
    }
    m_answered = true;
}
