#include "logger/PlatformLogger.h"
#include "logger/RecentLines.h"
#include "root/PlatformIni.h"

#include <jov/JovRoot.h>

#include <QtGlobal>

namespace {

JovLogger::Level levelOf(QtMsgType type)
{
    switch (type) {
    case QtDebugMsg:
        return JovLogger::Debug;
    case QtInfoMsg:
        return JovLogger::Info;
    case QtWarningMsg:
        return JovLogger::Warning;
    case QtCriticalMsg:
        return JovLogger::Error;
    case QtFatalMsg:
        break;
    }
    return JovLogger::Emergency;
}

void writeQtMessage(QtMsgType type, const QMessageLogContext & /*context*/, const QString &text)
{
    switch (levelOf(type)) {
    case JovLogger::Emergency:
        return logger().emergency(text);
    case JovLogger::Error:
        return logger().error(text);
    case JovLogger::Warning:
        return logger().warning(text);
    case JovLogger::Info:
        return logger().info(text);
    case JovLogger::Debug:
        return logger().debug(text);
    }
}

} // namespace

JovLogger::~JovLogger() = default;

LogOptions LogOptions::read()
{
    LogOptions options;
    if (areDefaults) {
        return options;
    }
    const QMap<QString, QString> section = PlatformIni::section(QStringLiteral("log"));
    bool isNumber = false;
    const int level = section.value(QStringLiteral("level")).toInt(&isNumber);
    if (isNumber) {
        options.level = qBound(0, level, int(JovLogger::Debug));
    }
    const QString file = section.value(QStringLiteral("file"));
    if (!file.isEmpty()) {
        options.file = JovRoot::rooted(file.startsWith(QLatin1Char('/')) ? file : QLatin1Char('/') + file);
    }
    return options;
}

PlatformLogger::PlatformLogger(const LogOptions &options)
    : m_level(options.level)
    , m_sink(options.file)
{ }

void PlatformLogger::write(Level level, const QString &text)
{
    if (level == Emergency || m_level >= level) {
        rememberLogLine(level, text);
        m_sink.write(level, text);
    }
}

JovLogger &logger(const QString & /*name*/)
{
    // Never destroyed: Qt's threads and the destructors of static objects may still have something to say at the end.
    static PlatformLogger &instance = *[] {
        auto *created = new PlatformLogger(LogOptions::read());
        qInstallMessageHandler(writeQtMessage);
        return created;
    }();
    return instance;
}
