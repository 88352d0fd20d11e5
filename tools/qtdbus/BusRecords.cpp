#include "qtdbus/BusRecords.h"

#include <QDBusMetaType>

QDBusArgument &operator<<(QDBusArgument &argument, const ApplicationConfig &config)
{
    argument.beginStructure();
    argument << config.getID() << static_cast<int>(config.getType()) << config.getName() << config.getStatus()
             << config.getState() << config.getDescription() << config.getVersion() << config.getLabel()
             << config.getSettingsDeployed();
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, ApplicationConfig &config)
{
    QString id, name, status, state, description, version, label;
    int type = 0;
    bool settingsDeployed = false;
    argument.beginStructure();
    argument >> id >> type >> name >> status >> state >> description >> version >> label >> settingsDeployed;
    argument.endStructure();
    config.setID(id);
    config.setType(static_cast<ApplicationType>(type));
    config.setName(name);
    config.setStatus(status);
    config.setState(state);
    config.setDescription(description);
    config.setVersion(version);
    config.setLabel(label);
    config.setSettingsDeployed(settingsDeployed);
    return argument;
}

QDBusArgument &operator<<(QDBusArgument &argument, const SettingChoice &choice)
{
    argument.beginStructure();
    argument << choice.value << choice.label;
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, SettingChoice &choice)
{
    argument.beginStructure();
    argument >> choice.value >> choice.label;
    argument.endStructure();
    return argument;
}

QDBusArgument &operator<<(QDBusArgument &argument, const Setting &setting)
{
    argument.beginStructure();
    argument << setting.getId() << setting.getValue() << setting.m_defaultValue << setting.m_label
             << setting.m_description << setting.m_owner << setting.m_unit << setting.m_type << setting.m_minimum
             << setting.m_maximum << setting.m_choices << setting.getDefined() << setting.m_mandatory
             << setting.m_pattern;
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, Setting &setting)
{
    QString id, value;
    bool defined = false;
    argument.beginStructure();
    argument >> id >> value >> setting.m_defaultValue >> setting.m_label >> setting.m_description >> setting.m_owner
        >> setting.m_unit >> setting.m_type >> setting.m_minimum >> setting.m_maximum >> setting.m_choices >> defined
        >> setting.m_mandatory >> setting.m_pattern;
    argument.endStructure();
    setting.setId(id);
    setting.setValue(value);
    setting.setDefined(defined);
    return argument;
}

void registerQtDBusRecords()
{
    qDBusRegisterMetaType<ApplicationConfig>();
    qDBusRegisterMetaType<ListApplicationConfig>();
    qDBusRegisterMetaType<SettingChoice>();
    qDBusRegisterMetaType<QList<SettingChoice>>();
    qDBusRegisterMetaType<Setting>();
    qDBusRegisterMetaType<ListSetting>();
}
