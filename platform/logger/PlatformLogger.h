#ifndef PLATFORM_LOGGER_H
#define PLATFORM_LOGGER_H

#include "logger/LogSink.h"

#include <jov/JovLogger.h>

#include <atomic>

/// What the section `[log]` of platform.ini says.
struct LogOptions
{
    int level = JovLogger::Info;
    /// With the root prefix in front; empty for standard error.
    QString file;

    [[nodiscard]] static LogOptions read();

    /// For a program that must not read platform.ini: set it before the first use of logger().
    static inline bool areDefaults = false;
};

/// The logger behind logger().
class PlatformLogger : public JovLogger
{
public:
    explicit PlatformLogger(const LogOptions &options);

    [[nodiscard]] int level() const override { return m_level; }
    void setLevel(int level) override { m_level = level; }

    void emergency(const QString &text) override { write(Emergency, text); }
    void error(const QString &text) override { write(Error, text); }
    void warning(const QString &text) override { write(Warning, text); }
    void info(const QString &text) override { write(Info, text); }
    void debug(const QString &text) override { write(Debug, text); }

private:
    void write(Level level, const QString &text);

    // Qt's messages read it from other threads.
    std::atomic<int> m_level;
    LogSink m_sink;
};

#endif
