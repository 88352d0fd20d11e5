#include "rig/ProcessTime.h"

#include <QElapsedTimer>
#include <QProcess>

double processTime(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.setStandardOutputFile(QProcess::nullDevice());
    QElapsedTimer timer;
    timer.start();
    process.start(program, arguments);
    const bool ended = process.waitForFinished();
    const double time = double(timer.nsecsElapsed()) / 1e6;
    if (!ended || process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0) {
        qFatal("%s %s: %s", qPrintable(program), qPrintable(arguments.join(QLatin1Char(' '))),
               process.readAllStandardError().constData());
    }
    return time;
}
