#include "root/PlatformIni.h"

#include <jov/SettingsParam.h>

int settings_get_param(const QString &name, QString &value)
{
    const QMap<QString, QString> parameters = PlatformIni::section(QStringLiteral("platform"));
    const auto found = parameters.constFind(name);
    if (found == parameters.constEnd()) {
        return -1;
    }
    value = *found;
    return 0;
}

QMap<QString, QString> settings_get_section(const QString &section)
{
    return PlatformIni::section(section);
}
