#include "app/Installation.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>

namespace {

/// `installed` below the directory of the installed simulator, or `inSources` below the sources of this build.
QString find(const QString &installed, const QString &inSources)
{
    const QDir shared(QCoreApplication::applicationDirPath() + QStringLiteral("/../../share/jov-simulator"));
    if (shared.exists(installed)) {
        return shared.canonicalPath() + QLatin1Char('/') + installed;
    }
    return QStringLiteral(JOV_SOURCE_DIR "/") + inSources;
}

} // namespace

QString Installation::program(const QString &name)
{
    const QString here = QCoreApplication::applicationDirPath() + QLatin1Char('/');
    // Installed, the supervisor is where daemons are, and jovctl where commands are.
    for (const char *folder : {"", "../../sbin/", "../../bin/"}) {
        const QString program = QDir::cleanPath(here + QLatin1String(folder) + name);
        if (QFile::exists(program)) {
            return program;
        }
    }
    return here + name;
}

QString Installation::terminal(const QString &name)
{
    const QString folder = name.isEmpty() ? QStringLiteral("terminal") : QStringLiteral("terminal-") + name;
    return find(folder, QStringLiteral("simulator/") + folder);
}

QString Installation::images()
{
    return find(QStringLiteral("images"), QStringLiteral("packaging/images"));
}
