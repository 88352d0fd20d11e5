#include <jov/JovRoot.h>

#include <QDir>
#include <QFile>

#include <algorithm>

namespace JovRoot {

namespace {

bool isPlain(QChar character)
{
    const ushort code = character.unicode();
    return (code >= 'a' && code <= 'z') || (code >= 'A' && code <= 'Z') || (code >= '0' && code <= '9')
        || QStringLiteral("_./-:@%+,").contains(character);
}

} // namespace

QString prefix()
{
    QString folder = QFile::decodeName(qgetenv("JOV_ROOT"));
    if (!folder.isEmpty() && QDir::isRelativePath(folder)) {
        // For the processes that we start as well: they begin in another folder.
        folder = QDir::current().absoluteFilePath(folder);
        qputenv("JOV_ROOT", QFile::encodeName(folder));
    }
    while (folder.endsWith(QLatin1Char('/'))) {
        folder.chop(1);
    }
    return folder;
}

QString rooted(const QString &absolutePath)
{
    return prefix() + absolutePath;
}

QString shellQuoted(const QString &text)
{
    if (!text.isEmpty() && std::all_of(text.begin(), text.end(), isPlain)) {
        return text;
    }
    QString quoted = text;
    quoted.replace(QLatin1Char('\''), QStringLiteral("'\\''"));
    return QLatin1Char('\'') + quoted + QLatin1Char('\'');
}

QString shellRooted(const QString &absolutePath)
{
    const QString folder = prefix();
    return folder.isEmpty() ? absolutePath : shellQuoted(folder) + absolutePath;
}

} // namespace JovRoot
