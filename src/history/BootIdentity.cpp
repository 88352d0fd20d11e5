#include "history/BootIdentity.h"

#include "system/RegularFile.h"

#include <jov/JovRoot.h>

#include <QStringList>

namespace {

constexpr int most = 4096; // bytes of a small file

QString contentOf(const QString &path)
{
    return QString::fromUtf8(RegularFile(path).read(most).value_or(QByteArray())).trimmed();
}

/// A value of `/etc/os-release`.
QString systemValue(const QString &key)
{
    const QString begin = key + QLatin1Char('=');
    const QStringList lines = contentOf(JovRoot::rooted(QStringLiteral("/etc/os-release"))).split(QLatin1Char('\n'));
    for (const QString &line : lines) {
        if (line.startsWith(begin)) {
            return line.mid(begin.size()).remove(QLatin1Char('"')).remove(QLatin1Char('\''));
        }
    }
    return {};
}

} // namespace

QString BootIdentity::bootId()
{
    const QString own =
        JovRoot::prefix().isEmpty() ? QString() : contentOf(JovRoot::rooted(QStringLiteral("/run/boot_id")));
    return own.isEmpty() ? contentOf(QStringLiteral("/proc/sys/kernel/random/boot_id")) : own;
}

QString BootIdentity::firmware()
{
    const QString image = systemValue(QStringLiteral("IMAGE_VERSION"));
    return image.isEmpty() ? systemValue(QStringLiteral("VERSION_ID")) : image;
}

QString BootIdentity::systemVersion()
{
    return systemValue(QStringLiteral("PRETTY_NAME"));
}
