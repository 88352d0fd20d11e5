#include "PrivateBus.h"

#include <QElapsedTimer>
#include <QFile>
#include <QThread>

#include <csignal>

#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

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

bool accepts(const QByteArray &path)
{
    const int descriptor = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    qstrncpy(address.sun_path, path.constData(), sizeof address.sun_path);
    const bool connected = connect(descriptor, reinterpret_cast<sockaddr *>(&address), sizeof address) == 0;
    close(descriptor);
    return connected;
}

} // namespace

PrivateBus::PrivateBus()
{
    QFile config(m_directory.filePath(QStringLiteral("bus.conf")));
    if (!config.open(QIODevice::WriteOnly)) {
        qFatal("cannot write the configuration of the bus");
    }
    config.write(QString::fromUtf8(configuration).arg(m_directory.filePath(QStringLiteral("socket"))).toUtf8());
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
    return QStringLiteral("unix:path=") + m_directory.filePath(QStringLiteral("socket"));
}

void PrivateBus::start()
{
    const QString socketPath = m_directory.filePath(QStringLiteral("socket"));
    QFile::remove(socketPath);
    m_daemon.setStandardOutputFile(QProcess::nullDevice());
    m_daemon.setStandardErrorFile(QProcess::nullDevice());
    m_daemon.start(QStringLiteral("dbus-daemon"),
                   {QStringLiteral("--nofork"), QStringLiteral("--nopidfile"),
                    QStringLiteral("--config-file=") + m_directory.filePath(QStringLiteral("bus.conf"))});
    QElapsedTimer timer;
    timer.start();
    while (!accepts(QFile::encodeName(socketPath))) {
        if (timer.elapsed() > 10000) {
            qFatal("dbus-daemon does not answer");
        }
        QThread::msleep(1);
    }
}

void PrivateBus::stop()
{
    if (m_daemon.state() != QProcess::NotRunning) {
        m_daemon.kill();
        m_daemon.waitForFinished();
    }
}
