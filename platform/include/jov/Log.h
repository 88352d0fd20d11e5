#ifndef JOV_LOG_H
#define JOV_LOG_H

#include <jov/JovLogger.h>

#include <type_traits>

/**
 * The one way the project writes log lines: the level is compared first, and below it no text is built.
 *
 *     Log::info("[Module] PID of :%1 : %2", name, pid);
 *
 * Placeholders are filled in one pass, so a text that itself holds "%1" is harmless. An argument is a text, a number,
 * or a callable that returns a text and is only called when the line is written (for texts that are dear to build).
 */
namespace Log {

namespace Detail {

inline QString text(const QString &value)
{
    return value;
}

inline QString text(QLatin1String value)
{
    return value;
}

inline QString text(const char *value)
{
    return QString::fromUtf8(value);
}

template <typename T>
QString text(const T &value)
{
    if constexpr (std::is_same_v<T, bool>) {
        return value ? QStringLiteral("true") : QStringLiteral("false");
    } else if constexpr (std::is_arithmetic_v<T>) {
        return QString::number(value);
    } else {
        return text(value());
    }
}

template <typename... Arguments>
QString format(const char *pattern, const Arguments &...arguments)
{
    if constexpr (sizeof...(arguments) == 0) {
        return QString::fromUtf8(pattern);
    } else {
        return QString::fromUtf8(pattern).arg(text(arguments)...);
    }
}

} // namespace Detail

[[nodiscard]] inline bool enabled(JovLogger::Level level)
{
    return logger().level() >= level;
}

template <typename... Arguments>
void debug(const char *pattern, const Arguments &...arguments)
{
    if (enabled(JovLogger::Debug)) {
        logger().debug(Detail::format(pattern, arguments...));
    }
}

template <typename... Arguments>
void info(const char *pattern, const Arguments &...arguments)
{
    if (enabled(JovLogger::Info)) {
        logger().info(Detail::format(pattern, arguments...));
    }
}

template <typename... Arguments>
void warning(const char *pattern, const Arguments &...arguments)
{
    if (enabled(JovLogger::Warning)) {
        logger().warning(Detail::format(pattern, arguments...));
    }
}

template <typename... Arguments>
void error(const char *pattern, const Arguments &...arguments)
{
    if (enabled(JovLogger::Error)) {
        logger().error(Detail::format(pattern, arguments...));
    }
}

/// Written at any level.
template <typename... Arguments>
void emergency(const char *pattern, const Arguments &...arguments)
{
    logger().emergency(Detail::format(pattern, arguments...));
}

} // namespace Log

#endif
