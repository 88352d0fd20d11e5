#include "components/SettingsComponent.h"

#include <jov/Log.h>
#include <jov/Setting.h>

#include <QFileInfo>

namespace {

const QString settingsSection = QStringLiteral("settings");
const QString checkSection = QStringLiteral("check");
const QString rebootKey = QStringLiteral("reboot");

} // namespace

SettingsComponent::SettingsComponent()
    : StandIn(QStringLiteral("SettingsManager"))
    , m_file(SettingsFile::standardPath())
{
    for (const QString &id : {QStringLiteral("MonitoringWatchDelay"), QStringLiteral("MonitoringWatchRetry")}) {
        m_watched.insert(id, m_file.value(settingsSection, id));
    }
}

bool SettingsComponent::init()
{
    registerDBusSetting();
    // The folder too: many editors write a new file and move it into the place of the old one.
    m_watcher.addPath(QFileInfo(SettingsFile::standardPath()).path());
    watchFile();
    connect(&m_watcher, &QFileSystemWatcher::fileChanged, this, &SettingsComponent::fileChanged);
    connect(&m_watcher, &QFileSystemWatcher::directoryChanged, this, &SettingsComponent::fileChanged);
    return StandIn::init()
        && subscribeEvent(QStringLiteral("checkMandatorySettings"), this, SLOT(checkMandatorySettings()));
}

QString SettingsComponent::getSettingValue(const QString &id)
{
    const QString value = m_file.value(settingsSection, id);
    return value.isNull() ? Setting::UNDEFINEDVALUE : value;
}

void SettingsComponent::checkMandatorySettings()
{
    const bool reboot = m_file.value(checkSection, rebootKey) == QLatin1String("true");
    notifyEvent(QStringLiteral("checkMandatorySettingsSuccess"), {{QStringLiteral("reboot"), reboot}});
    if (!reboot) {
        return;
    }
    if (!m_file.setValue(checkSection, rebootKey, QStringLiteral("false"))) {
        Log::error("SettingsManager: %1 cannot be written", SettingsFile::standardPath());
    }
    asyncRemoteCall(QStringLiteral("Platform"), QStringLiteral("reboot"),
                    {1, true, getModuleName(), QStringLiteral("mandatory settings changed")});
}

void SettingsComponent::fileChanged()
{
    watchFile();
    for (auto watched = m_watched.begin(); watched != m_watched.end(); ++watched) {
        const QString value = m_file.value(settingsSection, watched.key());
        if (value != watched.value() || value.isNull() != watched.value().isNull()) {
            watched.value() = value;
            reportChange(watched.key(), value);
        }
    }
}

void SettingsComponent::watchFile()
{
    const QString path = SettingsFile::standardPath();
    if (!m_watcher.files().contains(path) && QFileInfo::exists(path)) {
        m_watcher.addPath(path);
    }
}

void SettingsComponent::reportChange(const QString &id, const QString &value)
{
    Setting setting;
    setting.setId(id);
    setting.setValue(value);
    setting.setDefined(!value.isNull());
    asyncRemoteCall(QStringLiteral("ApplicationManager"), QStringLiteral("monitoringSettingsChanged"),
                    {QVariant::fromValue(setting)});
}
