#include "root/PlatformIni.h"

#include "root/IniText.h"
#include "system/RegularFile.h"

#include <jov/JovRoot.h>

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

/// Nothing if there is no file at all, too.
QString faultOf(RegularFile &file)
{
    if (file.result() == RegularFile::Result::Missing) {
        return {};
    }
    if (file.result() == RegularFile::Result::NotRegular) {
        return QStringLiteral("no plain file");
    }
    const std::optional<QByteArray> text = file.read(largestFile + 1);
    if (!text) {
        return file.errorText();
    }
    if (text->size() > largestFile) {
        return QStringLiteral("larger than 1 MiB");
    }
    return iniTextHoldsObjects(*text) ? QStringLiteral("@Variant or @DateTime in it") : QString();
}

} // namespace

QString path()
{
    return JovRoot::rooted(QStringLiteral("/etc/JovApplication/platform.ini"));
}

QString fault(const QString &path)
{
    RegularFile file(path);
    return faultOf(file);
}

QMap<QString, QString> section(const QString &name, const QString &path)
{
    RegularFile file(path);
    if (name.isEmpty() || !faultOf(file).isEmpty() || file.result() == RegularFile::Result::Missing) {
        return {};
    }
    QSettings ini(file.openName(), QSettings::IniFormat);
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
