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

} // namespace

QString BootIdentity::bootId()
{
    const QString own =
        JovRoot::prefix().isEmpty() ? QString() : contentOf(JovRoot::rooted(QStringLiteral("/run/boot_id")));
    return own.isEmpty() ? contentOf(QStringLiteral("/proc/sys/kernel/random/boot_id")) : own;
}

QString BootIdentity::systemVersion()
{
    const QString begin = QStringLiteral("PRETTY_NAME=");
    const QStringList lines = contentOf(JovRoot::rooted(QStringLiteral("/etc/os-release"))).split(QLatin1Char('\n'));
    for (const QString &line : lines) {
        if (line.startsWith(begin)) {
            return line.mid(begin.size()).remove(QLatin1Char('"'));
        }
    }
    return {};
}
