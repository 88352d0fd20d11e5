#include "bus/PrivateBus.h"

#include <QFile>

namespace {

const char configuration[] = R"(<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>system</type>
  <listen>%1</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
  <limit name="max_match_rules_per_connection">512</limit>
  <limit name="max_connections_per_user">5000</limit>
  <limit name="max_completed_connections">5000</limit>
</busconfig>
)";

} // namespace

QByteArray privateBusConfiguration(const QString &address)
{
    return QString::fromUtf8(configuration).arg(address.toHtmlEscaped()).toUtf8();
}

PrivateBus::PrivateBus()
{
    QFile file(configurationFile());
    if (!file.open(QIODevice::WriteOnly)) {
        qFatal("cannot write the configuration of the bus: %s", qPrintable(file.errorString()));
    }
    file.write(privateBusConfiguration(address()));
    file.close();
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", address().toUtf8());
    start();
}

PrivateBus::~PrivateBus()
{
    stop();
    qunsetenv("DBUS_SYSTEM_BUS_ADDRESS");
}

QString PrivateBus::address() const
{
    return QStringLiteral("unix:path=") + m_directory.filePath(QStringLiteral("socket"));
}

QString PrivateBus::configurationFile() const
{
    return m_directory.filePath(QStringLiteral("bus.conf"));
}

void PrivateBus::start()
{
    QFile::remove(m_directory.filePath(QStringLiteral("socket")));
    m_daemon.setStandardErrorFile(QProcess::nullDevice());
    m_daemon.start(QStringLiteral("dbus-daemon"),
                   {QStringLiteral("--nofork"), QStringLiteral("--nopidfile"), QStringLiteral("--print-address"),
                    QStringLiteral("--config-file=") + configurationFile()});
    // It prints its address when it listens.
    if (!m_daemon.waitForReadyRead()) {
        qFatal("cannot start dbus-daemon: %s", qPrintable(m_daemon.errorString()));
    }
}

void PrivateBus::stop()
{
    if (m_daemon.state() != QProcess::NotRunning) {
        m_daemon.kill();
        m_daemon.waitForFinished();
    }
}
