#include "components/Announcement.h"

#include <jov/JovRoot.h>

#include <QDateTime>
#include <QFile>

bool Announcement::announce(const QStringList &words)
{
    QString line = QString::number(QDateTime::currentMSecsSinceEpoch());
    for (const QString &word : words) {
        line += QLatin1Char('\t')
            + QString(word).replace(QLatin1Char('\t'), QLatin1Char(' ')).replace(QLatin1Char('\n'), QLatin1Char(' '));
    }
    line += QLatin1Char('\n');
    QFile requests(JovRoot::rooted(file));
    // Unbuffered: one write, which the kernel does not mix with those of others.
    return requests.open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Unbuffered)
        && requests.write(line.toUtf8()) >= 0;
}
