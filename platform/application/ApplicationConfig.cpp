#include <jov/ApplicationConfig.h>

#include <QDBusMetaType>

QString ApplicationConfig::toString() const
{
    return QStringLiteral("ID:%1 name:%2 type:%3 status:%4 state:%5 description:%6 settings_deployed:%7")
        .arg(m_id, m_name, QString::number(static_cast<int>(m_type)), m_status, m_state, m_description,
             QString::number(m_settingsDeployed ? 1 : 0));
}

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

void registerDBusApplicationConfig()
{
    qDBusRegisterMetaType<ApplicationConfig>();
    qDBusRegisterMetaType<ListApplicationConfig>();
    qRegisterMetaType<ListApplicationConfig>("QList<ApplicationConfig>");
}
