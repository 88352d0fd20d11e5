#ifndef JOV_LOGGER_H
#define JOV_LOGGER_H

#include <QString>

/**
 * The platform logger: one line a record, in the file that `[log] file` of platform.ini names, on standard error when
 * none is named, or to syslog(3) when standard error cannot be written.
 *
 * A line reads `2026-11-21T10:00:00.123 LEVEL TEXT`; line feeds and carriage returns inside a text are written as `\n`
 * and `\r`, so that nobody can forge a record. A text is cut after 8,192 characters. A line that cannot be written at
 * once is dropped, and the number of such lines is logged later. The level is `[log] level` (6 when absent), and
 * setLevel() changes it in a running process. Qt's own messages go the same way from the first call of logger() on.
 *
 * Callers use Log.h, which asks for the level before it builds a text. The logger is for the thread of the event loop.
 */
class JovLogger
{
public:
    /// Severities, numbered as syslog's.
    enum Level { Emergency = 0, Error = 3, Warning = 4, Info = 6, Debug = 7 };

    virtual ~JovLogger();

    [[nodiscard]] virtual int level() const = 0;
    virtual void setLevel(int level) = 0;

    virtual void emergency(const QString &text) = 0;
    virtual void error(const QString &text) = 0;
    virtual void warning(const QString &text) = 0;
    virtual void info(const QString &text) = 0;
    virtual void debug(const QString &text) = 0;
};

/// The logger of the given name. There is one for the process; the empty name is the usual way to ask for it.
JovLogger &logger(const QString &name = QString());

#endif
