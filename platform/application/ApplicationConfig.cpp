#include "bus/BusTypes.h"

#include <jov/ApplicationConfig.h>

QString ApplicationConfig::toString() const
{
    return QStringLiteral("ID:%1 name:%2 type:%3 status:%4 state:%5 description:%6 settings_deployed:%7")
        .arg(m_id, m_name, QString::number(static_cast<int>(m_type)), m_status, m_state, m_description,
             QString::number(m_settingsDeployed ? 1 : 0));
}

namespace {

QVariant toPlain(const ApplicationConfig &config)
{
    return QVariantList{config.getID(),
                        static_cast<int>(config.getType()),
                        config.getName(),
                        config.getStatus(),
                        config.getState(),
                        config.getDescription(),
                        config.getVersion(),
                        config.getLabel(),
                        config.getSettingsDeployed()};
}

ApplicationConfig fromPlain(const QVariant &plain)
{
    const QVariantList fields = plain.toList();
    ApplicationConfig config;
    config.setID(fields.at(0).toString());
    config.setType(static_cast<ApplicationType>(fields.at(1).toInt()));
    config.setName(fields.at(2).toString());
    config.setStatus(fields.at(3).toString());
    config.setState(fields.at(4).toString());
    config.setDescription(fields.at(5).toString());
    config.setVersion(fields.at(6).toString());
    config.setLabel(fields.at(7).toString());
    config.setSettingsDeployed(fields.at(8).toBool());
    return config;
}

} // namespace

void registerDBusApplicationConfig()
{
    BusTypes::add<ApplicationConfig>("(sissssssb)", toPlain, fromPlain);
    qRegisterMetaType<ListApplicationConfig>("ListApplicationConfig");
    qRegisterMetaType<ListApplicationConfig>("QList<ApplicationConfig>");
}
