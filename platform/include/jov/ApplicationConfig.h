#ifndef APPLICATION_CONFIG_H
#define APPLICATION_CONFIG_H

#include <QList>
#include <QMetaType>
#include <QString>

/// What an application is: a native process, or anything else.
enum class ApplicationType : int { Module = 0, WebApplication = 1 };

/**
 * The description of one installed application as it travels on the bus, signature `(sissssssb)`:
 * ID, Type, Name, Status, State, Description, Version, Label, SettingsDeployed.
 *
 * ID is the process id in decimal while the application runs and "0" otherwise. Version and Label stay empty here.
 * A plain value: copy it freely.
 */
class ApplicationConfig
{
public:
    [[nodiscard]] QString getID() const { return m_id; }
    void setID(const QString &id) { m_id = id; }
    [[nodiscard]] ApplicationType getType() const { return m_type; }
    void setType(ApplicationType type) { m_type = type; }
    [[nodiscard]] QString getName() const { return m_name; }
    void setName(const QString &name) { m_name = name; }
    [[nodiscard]] QString getStatus() const { return m_status; }
    void setStatus(const QString &status) { m_status = status; }
    [[nodiscard]] QString getState() const { return m_state; }
    void setState(const QString &state) { m_state = state; }
    [[nodiscard]] QString getDescription() const { return m_description; }
    void setDescription(const QString &description) { m_description = description; }
    [[nodiscard]] QString getVersion() const { return m_version; }
    void setVersion(const QString &version) { m_version = version; }
    [[nodiscard]] QString getLabel() const { return m_label; }
    void setLabel(const QString &label) { m_label = label; }
    [[nodiscard]] bool getSettingsDeployed() const { return m_settingsDeployed; }
    void setSettingsDeployed(bool deployed) { m_settingsDeployed = deployed; }

    /// "ID:%1 name:%2 type:%3 status:%4 state:%5 description:%6 settings_deployed:%7", the flag as 0 or 1.
    [[nodiscard]] QString toString() const;

private:
    QString m_id = QStringLiteral("0");
    ApplicationType m_type = ApplicationType::Module;
    QString m_name;
    QString m_status;
    QString m_state;
    QString m_description;
    QString m_version;
    QString m_label;
    bool m_settingsDeployed = false;
};

using ListApplicationConfig = QList<ApplicationConfig>;

/// Makes both types known to the platform's bus. Call it once before they travel; a second call does no harm.
void registerDBusApplicationConfig();

Q_DECLARE_METATYPE(ApplicationConfig)
Q_DECLARE_METATYPE(ListApplicationConfig)

#endif
