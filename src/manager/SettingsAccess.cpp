#include "manager/SettingsAccess.h"

#include "contract/Components.h"
#include "monitoring/MemoryWatchdog.h"
#include "supervision/BusAccess.h"

#include <jov/JovException.h>
#include <jov/Log.h>
#include <jov/Setting.h>

#include <memory>

namespace {

int figureOf(const Setting &setting)
{
    return setting.getDefined() ? setting.getValue().toInt() : 0;
}

} // namespace

QString SettingsAccess::getSettingValue(const QString &id) const
{
    Log::debug("getSettingValue %1", id);
    try {
        const JovReply reply =
            m_bus.syncRemoteCall(Components::settingsManager, Components::getSettingValueMethod, {id});
        if (reply.isError() || reply.arguments().isEmpty()) {
            return Setting::UNDEFINEDVALUE;
        }
        const QVariant value = reply.arguments().constFirst();
        return value.canConvert<QString>() ? value.toString() : Setting::UNDEFINEDVALUE;
    } catch (JovException *thrown) {
        const std::unique_ptr<JovException> exception(thrown);
        Log::error("getSettingValue: error while contacting SettingsManager (ID=%1) : %2", id, exception->message());
    } catch (...) {
        Log::error("getSettingValue: error while contacting SettingsManager (ID=%1)", id);
    }
    return Setting::UNDEFINEDVALUE;
}

void SettingsAccess::getMonitoringSettings()
{
    Log::debug("getMonitoringSettings");
    const QString delay = getSettingValue(Components::watchDelaySetting);
    const QString retry = getSettingValue(Components::watchRetrySetting);
    // Both lines name the delay, and the first begins as it does: field tools match these texts.
    if (delay == Setting::UNDEFINEDVALUE) {
        Log::error("sgetMonitoringSettings setting %1 is undefined", Components::watchDelaySetting);
    }
    if (retry == Setting::UNDEFINEDVALUE) {
        Log::error("getMonitoringSettings setting %1 is undefined", Components::watchDelaySetting);
    }
    Log::debug("getMonitoringSettings delay=%1 retry=%2", delay, retry);
    m_watchdog.setMonitoringWatchDelay(delay.toInt());
    m_watchdog.setMonitoringWatchRetry(retry.toInt());
}

void SettingsAccess::monitoringSettingsChanged(const Setting &setting)
{
    const int figure = figureOf(setting);
    if (setting.getId() == Components::watchDelaySetting) {
        m_watchdog.setMonitoringWatchDelay(figure);
        Log::debug("new monitoringWatchDelay value=%1", figure);
    } else if (setting.getId() == Components::watchRetrySetting) {
        m_watchdog.setMonitoringWatchRetry(figure);
        Log::debug("new monitoringWatchRetry value=%1", figure);
    }
    m_watchdog.startMonitoring();
}
