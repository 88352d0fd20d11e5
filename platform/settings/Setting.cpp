#include "bus/BusTypes.h"

#include <jov/Setting.h>

const QString Setting::UNDEFINEDVALUE = QStringLiteral("UNDEFINED_VALUE");

namespace {

QVariant toPlain(const Setting &setting)
{
    QVariantList choices;
    for (const SettingChoice &choice : setting.m_choices) {
        choices.append(QVariant(QVariantList{choice.value, choice.label}));
    }
    return QVariantList{setting.getId(),       setting.getValue(), setting.m_defaultValue, setting.m_label,
                        setting.m_description, setting.m_owner,    setting.m_unit,         setting.m_type,
                        setting.m_minimum,     setting.m_maximum,  QVariant(choices),      setting.getDefined(),
                        setting.m_mandatory,   setting.m_pattern};
}

Setting fromPlain(const QVariant &plain)
{
    const QVariantList fields = plain.toList();
    Setting setting;
    setting.setId(fields.at(0).toString());
    setting.setValue(fields.at(1).toString());
    setting.m_defaultValue = fields.at(2).toString();
    setting.m_label = fields.at(3).toString();
    setting.m_description = fields.at(4).toString();
    setting.m_owner = fields.at(5).toString();
    setting.m_unit = fields.at(6).toString();
    setting.m_type = fields.at(7).toInt();
    setting.m_minimum = fields.at(8).toInt();
    setting.m_maximum = fields.at(9).toInt();
    const QVariantList choices = fields.at(10).toList();
    for (const QVariant &choice : choices) {
        setting.m_choices.append({choice.toList().at(0).toString(), choice.toList().at(1).toString()});
    }
    setting.setDefined(fields.at(11).toBool());
    setting.m_mandatory = fields.at(12).toBool();
    setting.m_pattern = fields.at(13).toString();
    return setting;
}

} // namespace

void registerDBusSetting()
{
    BusTypes::add<Setting>("(sssssssiiia(ss)bbs)", toPlain, fromPlain);
    qRegisterMetaType<Setting>("Setting");
    qRegisterMetaType<ListSetting>("ListSetting");
    qRegisterMetaType<ListSetting>("QList<Setting>");
}
