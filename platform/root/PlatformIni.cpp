#include "root/PlatformIni.h"

#include "root/IniText.h"

#include <jov/JovRoot.h>

#include <QFile>
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

// Opening a FIFO for reading would wait for a writer: only a regular file is ever opened.
QString faultOf(const QFileInfo &info)
{
    if (!info.isFile()) {
        return QStringLiteral("no plain file");
    }
    if (info.size() > largestFile) {
        return QStringLiteral("larger than 1 MiB");
    }
    QFile file(info.filePath());
    if (!file.open(QIODevice::ReadOnly)) {
        return file.errorString();
    }
    return iniTextHoldsObjects(file.read(info.size())) ? QStringLiteral("@Variant or @DateTime in it") : QString();
}

} // namespace

QString path()
{
    return JovRoot::rooted(QStringLiteral("/etc/JovApplication/platform.ini"));
}

QString fault()
{
    const QFileInfo info(path());
    return info.exists() ? faultOf(info) : QString();
}

QMap<QString, QString> section(const QString &name)
{
    const QFileInfo info(path());
    if (name.isEmpty() || !faultOf(info).isEmpty()) {
        return {};
    }
    QSettings ini(info.filePath(), QSettings::IniFormat);
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
