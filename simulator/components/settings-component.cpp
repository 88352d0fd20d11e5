#include "components/PlainCrash.h"
#include "components/SettingsFile.h"
#include "contract/Components.h"
#include "contract/Events.h"

#include <jov/JovApplication.h>
#include <jov/Log.h>
#include <jov/Setting.h>
#include <jov/SupervisedModule.h>

#include <QFileInfo>
#include <QFileSystemWatcher>
#include <QMap>

namespace {

const QString settingsSection = QStringLiteral("settings");
const QString checkSection = QStringLiteral("check");
const QString rebootKey = QStringLiteral("reboot");

} // namespace

/**
 * The component "SettingsManager", with the settings of one INI file. It answers the check of the mandatory settings,
 * and notifies the supervisor when a setting of the memory watchdog changes in the file.
 *
 *     [settings]
 *     MonitoringWatchDelay=5
 *     [check]
 *     reboot=false     ; true: the next check requests a reboot, and sets this to false
 */
class SettingsComponent : public SupervisedModule
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.velmora.Jovara.JovInterface")

public:
    SettingsComponent();

    bool init() override;

public Q_SLOTS:
    /// Setting::UNDEFINEDVALUE when the file has no such setting.
    Q_SCRIPTABLE QString getSettingValue(const QString &id);
    void checkMandatorySettings();

private:
    void fileChanged();
    void watchFile();
    void reportChange(const QString &id, const QString &value);

    SettingsFile m_file;
    QFileSystemWatcher m_watcher;
    QMap<QString, QString> m_watched; ///< the last known value of each setting of the watchdog
};

SettingsComponent::SettingsComponent()
    : SupervisedModule(Components::settingsManager)
    , m_file(SettingsFile::standardPath())
{
    for (const QLatin1String id : {Components::watchDelaySetting, Components::watchRetrySetting}) {
        m_watched.insert(id, m_file.value(settingsSection, id));
    }
}

bool SettingsComponent::init()
{
    registerDBusSetting();
    // The directory too: many editors write a new file and rename it.
    m_watcher.addPath(QFileInfo(SettingsFile::standardPath()).path());
    watchFile();
    connect(&m_watcher, &QFileSystemWatcher::fileChanged, this, &SettingsComponent::fileChanged);
    connect(&m_watcher, &QFileSystemWatcher::directoryChanged, this, &SettingsComponent::fileChanged);
    return SupervisedModule::init()
        && subscribeEvent(Events::checkMandatorySettings, this, SLOT(checkMandatorySettings()));
}

QString SettingsComponent::getSettingValue(const QString &id)
{
    const QString value = m_file.value(settingsSection, id);
    return value.isNull() ? Setting::UNDEFINEDVALUE : value;
}

void SettingsComponent::checkMandatorySettings()
{
    const bool reboot = m_file.value(checkSection, rebootKey) == QLatin1String("true");
    notifyEvent(Events::mandatorySettingsChecked, {{Events::reboot, reboot}});
    if (!reboot) {
        return;
    }
    if (!m_file.setValue(checkSection, rebootKey, QStringLiteral("false"))) {
        Log::error("SettingsManager: %1 cannot be written", SettingsFile::standardPath());
    }
    asyncRemoteCall(Components::platform, Components::rebootMethod,
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
    asyncRemoteCall(Components::applicationManager, Components::settingChangedMethod, {QVariant::fromValue(setting)});
}

int main(int argc, char **argv)
{
    crashPlainly();
    JovApplication application(argc, argv);
    SettingsComponent component;
    return application.exec();
}

#include "settings-component.moc"
