#include <jov/Setting.h>

#include <QDBusMetaType>

const QString Setting::UNDEFINEDVALUE = QStringLiteral("UNDEFINED_VALUE");

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

void registerDBusSetting()
{
    qDBusRegisterMetaType<SettingChoice>();
    qDBusRegisterMetaType<QList<SettingChoice>>();
    qDBusRegisterMetaType<Setting>();
    qDBusRegisterMetaType<ListSetting>();
    qRegisterMetaType<ListSetting>("QList<Setting>");
}
