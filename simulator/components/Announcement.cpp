#include "Announcement.h"

#include "JovRoot.h"

#include <QFile>

bool Announcement::announce(const QStringList &words)
{
    QString line;
    for (const QString &word : words) {
        line += QString(word).replace(QLatin1Char('\t'), QLatin1Char(' ')).replace(QLatin1Char('\n'), QLatin1Char(' '))
            + QLatin1Char('\t');
    }
    line.replace(line.size() - 1, 1, QLatin1Char('\n'));
    QFile requests(JovRoot::rooted(file));
    // Unbuffered: one write, which the kernel does not mix with those of others.
    return requests.open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Unbuffered)
        && requests.write(line.toUtf8()) >= 0;
}
