#include "Catalogue.h"
#include "FakeSupervisor.h"
#include "JovException.h"
#include "LeftBehind.h"
#include "MemoryWatchdog.h"
#include "ParentReport.h"
#include "ProcReader.h"
#include "RootDir.h"
#include "Setting.h"
#include "SettingsAccess.h"
#include "Timeline.h"

#include <QDBusVariant>
#include <QTest>

#include <cerrno>
#include <csignal>
#include <memory>

#include <sys/wait.h>
#include <unistd.h>

namespace {

volatile std::sig_atomic_t taken = -1;

/// A reply that carries this value; the invalid one is an error.
QDBusMessage replyOf(const QVariant &value)
{
    const QDBusMessage call = QDBusMessage::createMethodCall(QStringLiteral("a.b"), QStringLiteral("/a"),
                                                             QStringLiteral("a.b"), QStringLiteral("get"));
    return value.isValid() ? call.createReply(value) : call.createErrorReply(QDBusError::NoReply, QString());
}

} // namespace

class ManagerTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void settingsRead_data();
    void settingsRead();
    void noBusForSettings();
    void settingChanged_data();
    void settingChanged();
    void parentReport_data();
    void parentReport();
    void timelineKeepsTheStartUp();

private:
    RootDir m_root;
};

void ManagerTest::initTestCase()
{
    m_root.write(QStringLiteral("/etc/JovApplication/platform.ini"), "[log]\nlevel=7\nfile=/log\n");
}

void ManagerTest::settingsRead_data()
{
    QTest::addColumn<QVariantList>("answers");
    QTest::addColumn<int>("delay");
    QTest::addColumn<int>("retry");
    QTest::addColumn<QByteArray>("error");

    const QString undefined = Setting::UNDEFINEDVALUE;
    const QString five = QStringLiteral("5");
    QTest::newRow("both") << QVariantList{five, QStringLiteral("3")} << 5 << 3 << QByteArray();
    QTest::newRow("no delay") << QVariantList{undefined, five} << 0 << 5
                              << QByteArray(" sgetMonitoringSettings setting MonitoringWatchDelay is undefined\n");
    QTest::newRow("no retry") << QVariantList{five, undefined} << 5 << 0
                              << QByteArray(" getMonitoringSettings setting MonitoringWatchDelay is undefined\n");
    QTest::newRow("error reply") << QVariantList{QVariant(), five} << 0 << 5
                                 << QByteArray(" sgetMonitoringSettings setting MonitoringWatchDelay is undefined\n");
    QTest::newRow("no numbers") << QVariantList{QStringLiteral("abc"), QStringLiteral("5 ")} << 0 << 5 << QByteArray();
    QTest::newRow("other types") << QVariantList{7, QVariant::fromValue(QDBusVariant(five))} << 7 << 5 << QByteArray();
    QTest::newRow("too large") << QVariantList{QStringLiteral("2147483648"), five} << 0 << 5 << QByteArray();
}

void ManagerTest::settingsRead()
{
    QFETCH(QVariantList, answers);
    QFETCH(int, delay);
    QFETCH(int, retry);
    QFETCH(QByteArray, error);
    m_root.write(QStringLiteral("/log"), QByteArray());
    FakeSupervisor supervisor;
    supervisor.answer = [&] { return replyOf(answers.takeFirst()); };
    Catalogue catalogue;
    MemoryWatchdog watchdog(supervisor, catalogue, ProcReader());
    SettingsAccess(supervisor, watchdog).getMonitoringSettings();
    QCOMPARE(watchdog.monitoringWatchDelay(), delay);
    QCOMPARE(watchdog.monitoringWatchRetry(), retry);
    const QByteArray log = m_root.read(QStringLiteral("/log"));
    QVERIFY(log.contains(error));
    QCOMPARE(log.count(" error "), error.isEmpty() ? 0 : 1);
    QCOMPARE(supervisor.calls,
             (QStringList{QStringLiteral("SettingsManager.getSettingValue,MonitoringWatchDelay"),
                          QStringLiteral("SettingsManager.getSettingValue,MonitoringWatchRetry")}));
}

void ManagerTest::noBusForSettings()
{
    m_root.write(QStringLiteral("/log"), QByteArray());
    FakeSupervisor supervisor;
    supervisor.answer = []() -> QDBusMessage {
        throw new JovException(nullptr, JovException::BusUnavailable, QStringLiteral("gone"));
    };
    Catalogue catalogue;
    MemoryWatchdog watchdog(supervisor, catalogue, ProcReader());
    const QString value = SettingsAccess(supervisor, watchdog).getSettingValue(QStringLiteral("X"));
    QCOMPARE(value, QString(Setting::UNDEFINEDVALUE));
    QVERIFY(m_root.read(QStringLiteral("/log"))
                .contains("error getSettingValue: error while contacting SettingsManager (ID=X) : gone\n"));
}

void ManagerTest::settingChanged_data()
{
    QTest::addColumn<QString>("id");
    QTest::addColumn<QString>("value");
    QTest::addColumn<bool>("defined");
    QTest::addColumn<int>("delay");
    QTest::addColumn<int>("retry");

    QTest::newRow("delay") << "MonitoringWatchDelay"
                           << "7" << true << 7 << 2;
    QTest::newRow("delay no more") << "MonitoringWatchDelay"
                                   << "7" << false << 0 << 2;
    QTest::newRow("retry") << "MonitoringWatchRetry"
                           << "-1" << true << 1 << -1;
    QTest::newRow("no number") << "MonitoringWatchRetry"
                               << "x" << true << 1 << 0;
    QTest::newRow("another") << "Volume"
                             << "7" << true << 1 << 2;
}

// Each change begins a new period, also one of another setting.
void ManagerTest::settingChanged()
{
    QFETCH(QString, id);
    QFETCH(QString, value);
    QFETCH(bool, defined);
    QFETCH(int, delay);
    QFETCH(int, retry);
    FakeSupervisor supervisor;
    Catalogue catalogue;
    MemoryWatchdog watchdog(supervisor, catalogue, ProcReader());
    watchdog.setMonitoringWatchDelay(1);
    watchdog.setMonitoringWatchRetry(2);
    Setting setting;
    setting.setId(id);
    setting.setValue(value);
    setting.setDefined(defined);
    SettingsAccess(supervisor, watchdog).monitoringSettingsChanged(setting);
    QCOMPARE(watchdog.monitoringWatchDelay(), delay);
    QCOMPARE(watchdog.monitoringWatchRetry(), retry);
    QCOMPARE(watchdog.remainingTime() >= 0, delay > 0);
}

void ManagerTest::parentReport_data()
{
    QTest::addColumn<bool>("failed");
    QTest::addColumn<int>("offset");
    QTest::addColumn<int>("signal");

    QTest::newRow("up") << false << 0 << SIGUSR1;
    QTest::newRow("failed") << true << 0 << SIGUSR2;
    QTest::newRow("the parent is another by now") << false << 1 << -1;
}

void ManagerTest::parentReport()
{
    QFETCH(bool, failed);
    QFETCH(int, offset);
    QFETCH(int, signal);
    taken = -1;
    struct sigaction action = {};
    action.sa_handler = [](int number) { taken = number; };
    sigaction(SIGUSR1, &action, nullptr);
    sigaction(SIGUSR2, &action, nullptr);
    const pid_t parent = getpid();
    const pid_t child = fork();
    if (child == 0) {
        ParentReport report;
        report.setParent(parent + offset);
        report.send(failed);
        _exit(0);
    }
    pid_t ended = 0;
    do {
        ended = waitpid(child, nullptr, 0);
    } while (ended < 0 && errno == EINTR);
    QCOMPARE(ended, child);
    QTRY_COMPARE(int(taken), signal);
}

void ManagerTest::timelineKeepsTheStartUp()
{
    Timeline timeline;
    quint64 time = 0;
    const auto add = [&](const QString &event, int count) {
        for (int i = 0; i < count; ++i) {
            timeline.add({++time, event, QString()});
        }
    };
    add(QStringLiteral("before"), 5000);
    timeline.beginStartUp();
    add(QStringLiteral("boot"), 100);
    timeline.endStartUp();
    add(QStringLiteral("after"), 10000);
    const std::vector<Timeline::Entry> entries = timeline.entries();
    QCOMPARE(entries.size(), Timeline::capacity);
    QCOMPARE(entries.front().event, QStringLiteral("boot"));
    QCOMPARE(entries[100].event, QStringLiteral("after"));
    QCOMPARE(entries.back().time, time);
    // A start-up without an end does not push everything else out.
    timeline.beginStartUp();
    add(QStringLiteral("endless"), 20000);
    const std::vector<Timeline::Entry> later = timeline.entries();
    QCOMPARE(later.size(), Timeline::capacity);
    QCOMPARE(later.back().time, time);
}

int main(int argc, char **argv)
{
    ManagerTest test;
    return runTest(test, argc, argv);
}

#include "ManagerTest.moc"
