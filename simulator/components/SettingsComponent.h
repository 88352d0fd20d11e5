#ifndef SETTINGS_COMPONENT_H
#define SETTINGS_COMPONENT_H

#include "components/SettingsFile.h"
#include "components/StandIn.h"

#include <QFileSystemWatcher>
#include <QMap>

/**
 * Stands in for the component "SettingsManager": hands out the settings of one INI file, answers the check of the
 * mandatory settings, and tells the supervisor when a setting that it watches was changed in the file.
 *
 *     [settings]
 *     MonitoringWatchDelay=5
 *     [check]
 *     reboot=false     ; true: the next check finds that the terminal must be rebooted, and clears this line
 */
class SettingsComponent : public StandIn
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
    QMap<QString, QString> m_watched; ///< the last known value of each setting that the supervisor follows
};

#endif
