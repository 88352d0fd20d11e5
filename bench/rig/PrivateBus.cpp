#include "PrivateBus.h"

#include <QFile>

namespace {

// A terminal of 400 modules needs more connections of one user than the 256 that the system bus allows by itself.
const QString configuration =
    QStringLiteral(R"(<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>system</type>
  <listen>%1</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow send_destination="*"/>
    <allow send_type="signal"/>
    <allow send_requested_reply="true" send_type="method_return"/>
    <allow send_requested_reply="true" send_type="error"/>
    <allow receive_type="method_call"/>
    <allow receive_type="method_return"/>
    <allow receive_type="error"/>
    <allow receive_type="signal"/>
    <allow own="*"/>
  </policy>
  <limit name="max_connections_per_user">2000</limit>
</busconfig>
)");

} // namespace

PrivateBus::PrivateBus()
    : m_address(QStringLiteral("unix:path=") + m_directory.filePath(QStringLiteral("bus")))
{
    QFile file(m_directory.filePath(QStringLiteral("bus.conf")));
    if (!file.open(QIODevice::WriteOnly)) {
        qFatal("no place for a bus configuration: %s", qPrintable(file.errorString()));
    }
    file.write(configuration.arg(m_address).toUtf8());
    file.close();
    m_daemon.setStandardErrorFile(QProcess::nullDevice());
    m_daemon.start(QStringLiteral("dbus-daemon"),
                   {QStringLiteral("--nofork"), QStringLiteral("--nopidfile"), QStringLiteral("--print-address"),
                    QStringLiteral("--config-file=") + file.fileName()});
    if (!m_daemon.waitForReadyRead()) {
        qFatal("dbus-daemon does not come up: %s", qPrintable(m_daemon.errorString()));
    }
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", m_address.toUtf8());
}

PrivateBus::~PrivateBus()
{
    m_daemon.kill();
    m_daemon.waitForFinished();
    qunsetenv("DBUS_SYSTEM_BUS_ADDRESS");
}
