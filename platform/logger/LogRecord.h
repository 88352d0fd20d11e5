#ifndef LOG_RECORD_H
#define LOG_RECORD_H

#include <QByteArray>
#include <QString>

#include <ctime>

/// `text` without a bare line end, so that a record is one line and nobody can forge a second one, and with at most
/// 8,192 of its characters.
[[nodiscard]] QByteArray oneLine(const QString &text);

/// The line of a file or stream: time, level, text, line feed. `level` is a syslog number.
[[nodiscard]] QByteArray record(int level, const QByteArray &text);
[[nodiscard]] QByteArray record(int level, const QByteArray &text, const timespec &time);

/// The datagram that syslog(3) would send. That function is not used, because it waits while the socket is full.
[[nodiscard]] QByteArray syslogRecord(int level, const QByteArray &text);

#endif
