#include "daemon/Heartbeat.h"

#include "support/DataTable.h"
#include "support/RootDir.h"
#include "system/LifeSign.h"

#include <linux/watchdog.h>
#include <unistd.h>

Q_DECLARE_METATYPE(WatchdogDevice::Control)

namespace {

int takes(int /*device*/, unsigned long request, int *seconds)
{
    return (request == WDIOC_SETTIMEOUT && *seconds == 30) || request == WDIOC_GETTIMEOUT ? 0 : -1;
}

template <int result>
int takesAs(int /*device*/, unsigned long /*request*/, int *seconds)
{
    *seconds = result;
    return 0;
}

} // namespace

/// With a file as the device.
class HeartbeatTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { m_root.keepLog(); }

    void device_data()
    {
        columns<WatchdogDevice::Control, QString, QByteArray, int>("control", "end", "written", "errors");
        row("orderly end", &takes, "disarm", QByteArray("..V"), 0);
        row("reboot", &takes, "reboot", QByteArray(".."), 0);
        row("restart with the same device", &takes, "same", QByteArray("..."), 0);
        row("restart without a device", &takes, "none", QByteArray("..V"), 0);
        row("longer time-out", &takesAs<60>, "disarm", QByteArray("..V"), 0);
        row("shorter time-out", &takesAs<16>, "disarm", QByteArray("V"), 1);
        row("no watchdog", &WatchdogDevice::realControl, "disarm", QByteArray("V"), 1);
    }

    void device()
    {
        const auto [control, end, written, errors] = cells<WatchdogDevice::Control, QString, QByteArray, int>();
        m_root.write("/watchdog"_s, {});
        const QString path = m_root.path("/watchdog"_s);
        const int logged = m_root.log().size();
        {
            Heartbeat heartbeat(0, control);
            heartbeat.watch(path);
            LifeSign::give();
            if (end == "disarm"_s || end == "reboot"_s) {
                heartbeat.end(end == "reboot"_s);
            } else {
                heartbeat.watch(end == "same"_s ? path : QString());
                LifeSign::give();
            }
        }
        LifeSign::give();
        QCOMPARE(m_root.read("/watchdog"_s).replace('\0', '.'), written);
        QCOMPARE(m_root.log(logged).filter("refuses a time-out of 30 s: not armed"_s).size(), errors);
    }

    void interval_data()
    {
        columns<QByteArray, QByteArray, QString, int>("timeOut", "watched", "device", "interval");
        row("nobody", QByteArray(), QByteArray(), "", 0);
        row("half of the time-out", QByteArray("500000"), QByteArray(), "", 250);
        row("of the process that was started", QByteArray("500000"), QByteArray("4711"), "", 250);
        row("of this process", QByteArray("500000"), QByteArray::number(getpid()), "", 250);
        row("of another process", QByteArray("500000"), QByteArray::number(getppid()), "", 0);
        row("a third of the device's", QByteArray(), QByteArray(), "/dev/null", 10000);
        row("both", QByteArray("500000"), QByteArray(), "/dev/null", 250);
        row("both, the device first", QByteArray("60000000"), QByteArray(), "/dev/null", 10000);
        row("too short for a timer", QByteArray("1000"), QByteArray(), "", 1);
    }

    void interval()
    {
        const auto [timeOut, watched, device] = cells<QByteArray, QByteArray, QString>();
        qputenv("NOTIFY_SOCKET", "@nobody");
        qputenv("WATCHDOG_USEC", timeOut);
        qputenv("WATCHDOG_PID", watched);
        Heartbeat heartbeat(4711, &takes);
        heartbeat.watch(device);
        QTEST(int(heartbeat.interval().count()), "interval");
        // No process that is started later answers in our place.
        QVERIFY(!qEnvironmentVariableIsSet("NOTIFY_SOCKET") && !qEnvironmentVariableIsSet("WATCHDOG_USEC")
                && !qEnvironmentVariableIsSet("WATCHDOG_PID"));
    }

private:
    RootDir m_root;
};

QTEST_GUILESS_MAIN(HeartbeatTest)

#include "HeartbeatTest.moc"
