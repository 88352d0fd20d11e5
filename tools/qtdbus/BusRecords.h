#ifndef BUS_RECORDS_H
#define BUS_RECORDS_H

#include <jov/ApplicationConfig.h>
#include <jov/Setting.h>

#include <QDBusArgument>

// The platform's records for programs that are on the bus with QtDBus.

QDBusArgument &operator<<(QDBusArgument &argument, const ApplicationConfig &config);
const QDBusArgument &operator>>(const QDBusArgument &argument, ApplicationConfig &config);
QDBusArgument &operator<<(QDBusArgument &argument, const SettingChoice &choice);
const QDBusArgument &operator>>(const QDBusArgument &argument, SettingChoice &choice);
QDBusArgument &operator<<(QDBusArgument &argument, const Setting &setting);
const QDBusArgument &operator>>(const QDBusArgument &argument, Setting &setting);

/// Makes them known to QtDBus. Call it once before they travel.
void registerQtDBusRecords();

#endif
