#include "PrivateBus.h"

#include <QFile>

namespace {

const char configuration[] = R"(<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>system</type>
  <listen>unix:path=%1</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
  <limit name="max_match_rules_per_connection">512</limit>
</busconfig>
)";

} // namespace

PrivateBus::PrivateBus()
{
    QFile config(m_directory.filePath("bus.conf"_s));
    if (!config.open(QIODevice::WriteOnly)) {
        qFatal("cannot write the configuration of the bus");
    }
    config.write(QString::fromUtf8(configuration).arg(m_directory.filePath("socket"_s)).toUtf8());
    config.close();
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
    return "unix:path="_s + m_directory.filePath("socket"_s);
}

void PrivateBus::start()
{
    QFile::remove(m_directory.filePath("socket"_s));
    m_daemon.setStandardErrorFile(QProcess::nullDevice());
    m_daemon.start(
        "dbus-daemon"_s,
        {"--nofork"_s, "--nopidfile"_s, "--print-address"_s, "--config-file="_s + m_directory.filePath("bus.conf"_s)});
    // It tells its address when it listens.
    if (!m_daemon.waitForReadyRead()) {
        qFatal("dbus-daemon does not come up: %s", qPrintable(m_daemon.errorString()));
    }
}

void PrivateBus::stop()
{
    if (m_daemon.state() != QProcess::NotRunning) {
        m_daemon.kill();
        m_daemon.waitForFinished();
    }
}
