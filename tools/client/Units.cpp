#include "client/Units.h"

#include <ctime>

QString Units::duration(quint64 microseconds)
{
    const double milliseconds = double(microseconds) / 1000;
    if (milliseconds < 9.95) {
        return QStringLiteral("%1 ms").arg(milliseconds, 0, 'f', 1);
    }
    if (milliseconds < 999.5) {
        return QStringLiteral("%1 ms").arg(milliseconds, 0, 'f', 0);
    }
    if (milliseconds < 59995) {
        return QStringLiteral("%1 s").arg(milliseconds / 1000, 0, 'f', 2);
    }
    const quint64 seconds = (microseconds + 500000) / 1000000;
    if (seconds < 3600) {
        return QStringLiteral("%1 min %2 s").arg(seconds / 60).arg(seconds % 60, 2, 10, QLatin1Char('0'));
    }
    const quint64 minutes = seconds / 60;
    if (minutes < quint64(48) * 60) {
        return QStringLiteral("%1 h %2 min").arg(minutes / 60).arg(minutes % 60, 2, 10, QLatin1Char('0'));
    }
    return QStringLiteral("%1 days").arg(minutes / 60 / 24);
}

QString Units::memory(qint64 kilobytes)
{
    if (kilobytes < 1024) {
        return QStringLiteral("%1 kB").arg(kilobytes);
    }
    if (kilobytes < qint64(1024) * 1024) {
        return QStringLiteral("%1 MB").arg(double(kilobytes) / 1024, 0, 'f', 1);
    }
    return QStringLiteral("%1 GB").arg(double(kilobytes) / 1024 / 1024, 0, 'f', 2);
}

QString Units::ago(quint64 time)
{
    const quint64 present = now();
    return time == 0 ? QStringLiteral("never") : duration(present > time ? present - time : 0) + QStringLiteral(" ago");
}

quint64 Units::now()
{
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return quint64(time.tv_sec) * 1000000 + quint64(time.tv_nsec) / 1000;
}
