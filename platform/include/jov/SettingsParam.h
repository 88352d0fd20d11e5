#ifndef SETTINGS_PARAM_H
#define SETTINGS_PARAM_H

#include <QMap>
#include <QString>

/**
 * The platform's parameters: one INI file, `/etc/JovApplication/platform.ini` under the root prefix, read again at each
 * call.
 *
 *     [platform]              ; settings_get_param
 *     FAB_HW_DDRSIZE=512MB
 *     [ApplicationManager]    ; settings_get_section, behind JovModule::getParameters()
 *     no_webapp_timer=1
 */

/// Reads the parameter `name` of the section `[platform]` into `value`. 0 when it is there; -1, and `value` untouched,
/// when not.
[[nodiscard]] int settings_get_param(const QString &name, QString &value);

/// All keys and values of one section; empty when there is none.
[[nodiscard]] QMap<QString, QString> settings_get_section(const QString &section);

#endif
