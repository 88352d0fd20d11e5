#include "PlatformIni.h"

#include "JovRoot.h"

#include <QFileInfo>
#include <QSettings>
#include <QStringList>

namespace PlatformIni {

namespace {

constexpr qint64 largestFile = 1 << 20;

// QSettings takes a value with unquoted commas for a list.
QString text(const QVariant &value)
{
    return value.type() == QVariant::StringList ? value.toStringList().join(QLatin1Char(',')) : value.toString();
}

} // namespace

QMap<QString, QString> section(const QString &name)
{
    // Opening a FIFO for reading would wait for a writer: only a regular file is ever opened.
    const QFileInfo file(JovRoot::rooted(QStringLiteral("/etc/JovApplication/platform.ini")));
    if (name.isEmpty() || !file.isFile() || file.size() > largestFile) {
        return {};
    }
    QSettings ini(file.filePath(), QSettings::IniFormat);
    ini.setIniCodec("UTF-8");
    QMap<QString, QString> values;
    // QSettings keeps the keys of a section [General] without a group.
    if (name.compare(QLatin1String("general"), Qt::CaseInsensitive) == 0) {
        const QStringList keys = ini.childKeys();
        for (const QString &key : keys) {
            values.insert(key, text(ini.value(key)));
        }
        return values;
    }
    ini.beginGroup(name);
    const QStringList keys = ini.allKeys();
    for (const QString &key : keys) {
        values.insert(key, text(ini.value(key)));
    }
    return values;
}

} // namespace PlatformIni
