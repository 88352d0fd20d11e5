#ifndef SETTING_H
#define SETTING_H

#include <QList>
#include <QMetaType>
#include <QString>

/// One value that a setting may take, and its text for people. On the bus `(ss)`.
struct SettingChoice
{
    QString value;
    QString label;
};

/**
 * One setting of the terminal as it travels on the bus, signature `(sssssssiiia(ss)bbs)`: id, value, defaultValue,
 * label, description, owner, unit; type, minimum, maximum; choices; defined, mandatory; pattern.
 *
 * A value travels as text whatever its type. A setting without a value has getDefined() false, or the value
 * UNDEFINEDVALUE where only the text travels. A plain value: copy it freely.
 */
class Setting
{
public:
    /// The text that stands for "no value".
    static const QString UNDEFINEDVALUE;

    [[nodiscard]] QString getId() const { return m_id; }
    void setId(const QString &id) { m_id = id; }
    [[nodiscard]] QString getValue() const { return m_value; }
    void setValue(const QString &value) { m_value = value; }
    [[nodiscard]] bool getDefined() const { return m_defined; }
    void setDefined(bool defined) { m_defined = defined; }

    QString m_defaultValue;
    QString m_label;
    QString m_description;
    QString m_owner;
    QString m_unit;
    int m_type = 0;
    int m_minimum = 0;
    int m_maximum = 0;
    QList<SettingChoice> m_choices;
    bool m_mandatory = false;
    QString m_pattern;

private:
    QString m_id;
    QString m_value;
    bool m_defined = false;
};

using ListSetting = QList<Setting>;

/// Makes the types known to the platform's bus and to Qt's meta-type system. Call it once before they travel.
void registerDBusSetting();

Q_DECLARE_METATYPE(SettingChoice)
Q_DECLARE_METATYPE(Setting)
Q_DECLARE_METATYPE(ListSetting)

#endif
