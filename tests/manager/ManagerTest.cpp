#include "Catalogue.h"
#include "DataTable.h"
#include "FakeSupervisor.h"
#include "JovException.h"
#include "MemoryWatchdog.h"
#include "ParentReport.h"
#include "ProcReader.h"
#include "RootDir.h"
#include "Setting.h"
#include "SettingsAccess.h"

#include <QDBusVariant>
#include <QTest>

#include <cerrno>
#include <csignal>
#include <memory>

#include <sys/wait.h>
#include <unistd.h>

namespace {

volatile std::sig_atomic_t taken = -1;

/// A reply that carries this value; the invalid one is an error, and there may be no bus.
QDBusMessage replyOf(const QVariant &value)
{
    if (value == QStringLiteral("no bus")) {
        throw new JovException(nullptr, JovException::BusUnavailable, QStringLiteral("gone"));
    }
    const QDBusMessage call = QDBusMessage::createMethodCall(QStringLiteral("a.b"), QStringLiteral("/a"),
                                                             QStringLiteral("a.b"), QStringLiteral("get"));
    return value.isValid() ? call.createReply(value) : call.createErrorReply(QDBusError::NoReply, QString());
}

} // namespace

class ManagerTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_root.keepLog(); }
    void settingsRead_data()
    {
        columns<QVariantList, int, int, QStringList>("answers", "delay", "retry", "errors");

        const QString undefined = Setting::UNDEFINEDVALUE;
        const QString five = QStringLiteral("5");
        const QString noDelay =
            QStringLiteral("error sgetMonitoringSettings setting MonitoringWatchDelay is undefined");
        const QString noRetry = QStringLiteral("error getMonitoringSettings setting MonitoringWatchDelay is undefined");
        const QString noBus = QStringLiteral(
            "error getSettingValue: error while contacting SettingsManager (ID=MonitoringWatchDelay) : gone");
        row("both", QVariantList{five, QStringLiteral("3")}, 5, 3, QStringList());
        row("no delay", QVariantList{undefined, five}, 0, 5, QStringList{noDelay});
        row("no retry", QVariantList{five, undefined}, 5, 0, QStringList{noRetry});
        row("error reply", QVariantList{QVariant(), five}, 0, 5, QStringList{noDelay});
        row("no bus", QVariantList{QStringLiteral("no bus"), five}, 0, 5, QStringList{noBus, noDelay});
        row("no numbers", QVariantList{QStringLiteral("abc"), QStringLiteral("5 ")}, 0, 5, QStringList());
        row("other types", QVariantList{7, QVariant::fromValue(QDBusVariant(five))}, 7, 5, QStringList());
        row("too large", QVariantList{QStringLiteral("2147483648"), five}, 0, 5, QStringList());
    }

    void settingsRead()
    {
        QFETCH(QVariantList, answers);
        FakeSupervisor supervisor;
        supervisor.answer = [&] { return replyOf(answers.takeFirst()); };
        Catalogue catalogue;
        MemoryWatchdog watchdog(supervisor, catalogue, ProcReader());
        SettingsAccess(supervisor, watchdog).getMonitoringSettings();
        QTEST(watchdog.monitoringWatchDelay(), "delay");
        QTEST(watchdog.monitoringWatchRetry(), "retry");
        QTEST(m_root.log().filter(QStringLiteral("error ")), "errors");
        QCOMPARE(supervisor.calls,
                 (QStringList{QStringLiteral("SettingsManager.getSettingValue,MonitoringWatchDelay"),
                              QStringLiteral("SettingsManager.getSettingValue,MonitoringWatchRetry")}));
    }

    void settingChanged_data()
    {
        columns<QString, QString, bool, int, int>("id", "value", "defined", "delay", "retry");

        row("delay", "MonitoringWatchDelay", "7", true, 7, 2);
        row("delay no more", "MonitoringWatchDelay", "7", false, 0, 2);
        row("retry", "MonitoringWatchRetry", "-1", true, 1, -1);
        row("no number", "MonitoringWatchRetry", "x", true, 1, 0);
        row("another", "Volume", "7", true, 1, 2);
    }

    // Each change begins a new period, also one of another setting.
    void settingChanged()
    {
        QFETCH(QString, id);
        QFETCH(QString, value);
        QFETCH(bool, defined);
        QFETCH(int, delay);
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
        QTEST(watchdog.monitoringWatchRetry(), "retry");
        QCOMPARE(watchdog.remainingTime() >= 0, delay > 0);
    }

    void parentReport_data()
    {
        columns<bool, int, int>("failed", "offset", "signal");

        row("up", false, 0, SIGUSR1);
        row("failed", true, 0, SIGUSR2);
        row("the parent is another by now", false, 1, -1);
    }

    void parentReport()
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

private:
    RootDir m_root;
};

QTEST_GUILESS_MAIN(ManagerTest)

#include "ManagerTest.moc"
