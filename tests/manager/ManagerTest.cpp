#include "manager/EndOfInit.h"
#include "manager/Journal.h"
#include "manager/ParentReport.h"
#include "manager/SettingsAccess.h"
#include "monitoring/MemoryWatchdog.h"
#include "monitoring/ProcReader.h"
#include "supervision/Parameters.h"
#include "support/DataTable.h"
#include "support/FakeSupervision.h"
#include "support/RootDir.h"

#include <jov/JovEvent.h>
#include <jov/JovException.h>
#include <jov/Setting.h>

#include <csignal>
#include <limits>
#include <memory>

#include <sys/wait.h>
#include <unistd.h>

namespace {

volatile std::sig_atomic_t taken = 0;

/// A reply that carries this value; the invalid one is an error, and there may be no bus.
JovReply replyOf(const QVariant &value)
{
    if (value == "no bus"_s) {
        throw new JovException(nullptr, JovException::BusUnavailable, "gone"_s);
    }
    return value.isValid() ? JovReply({value}) : JovReply("org.freedesktop.DBus.Error.NoReply"_s, QString());
}

/// What the settings of the memory watchdog reach.
class Watched : public FakeSupervision
{
public:
    MemoryWatchdog watchdog{bus, *this, catalogue, ProcReader()};
    SettingsAccess settings{bus, watchdog};
};

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
        const QString five = "5"_s;
        const QString noDelay = "error sgetMonitoringSettings setting MonitoringWatchDelay is undefined"_s;
        const QString noRetry = "error getMonitoringSettings setting MonitoringWatchDelay is undefined"_s;
        const QString noBus =
            "error getSettingValue: error while contacting SettingsManager (ID=MonitoringWatchDelay) : gone"_s;
        row("both", QVariantList{five, "3"_s}, 5, 3, QStringList());
        row("no delay", QVariantList{undefined, five}, 0, 5, QStringList{noDelay});
        row("no retry", QVariantList{five, undefined}, 5, 0, QStringList{noRetry});
        row("error reply", QVariantList{QVariant(), five}, 0, 5, QStringList{noDelay});
        row("no bus", QVariantList{"no bus"_s, five}, 0, 5, QStringList{noBus, noDelay});
        row("no numbers", QVariantList{"abc"_s, "5 "_s}, 0, 5, QStringList());
        row("other types", QVariantList{7, 5U}, 7, 5, QStringList());
    }

    void settingsRead()
    {
        QFETCH(QVariantList, answers);
        Watched supervision;
        supervision.bus.answer = [&] { return replyOf(answers.takeFirst()); };
        supervision.settings.getMonitoringSettings();
        QTEST(supervision.watchdog.monitoringWatchDelay(), "delay");
        QTEST(supervision.watchdog.monitoringWatchRetry(), "retry");
        QTEST(m_root.log().filter("error "_s), "errors");
        QCOMPARE(supervision.bus.calls,
                 (QStringList{"SettingsManager.getSettingValue,MonitoringWatchDelay"_s,
                              "SettingsManager.getSettingValue,MonitoringWatchRetry"_s}));
    }

    void settingChanged_data()
    {
        columns<QString, QString, bool, int, int>("id", "value", "defined", "delay", "retry");
        row("delay", "MonitoringWatchDelay", "7", true, 7, 2);
        row("delay no more", "MonitoringWatchDelay", "7", false, 0, 2);
        row("retry", "MonitoringWatchRetry", "-1", true, 1, -1);
        row("no number", "MonitoringWatchRetry", "x", true, 1, 0);
        row("another", "Volume", "7", true, 1, 2);
        row("negative", "MonitoringWatchDelay", "-5", true, -5, 2);
        row("over what a timer holds", "MonitoringWatchDelay", "2147483647", true, 2147483647, 2);
    }

    // Each change begins a new period, also one of another setting.
    void settingChanged()
    {
        const auto [id, value, defined, delay] = cells<QString, QString, bool, int>();
        Watched supervision;
        MemoryWatchdog &watchdog = supervision.watchdog;
        watchdog.setMonitoringWatchDelay(1);
        watchdog.setMonitoringWatchRetry(2);
        watchdog.startMonitoring();
        Setting setting;
        setting.setId(id);
        setting.setValue(value);
        setting.setDefined(defined);
        supervision.settings.monitoringSettingsChanged(setting);
        QCOMPARE(watchdog.monitoringWatchDelay(), delay);
        QTEST(watchdog.monitoringWatchRetry(), "retry");
        const qint64 period = delay > 0 ? qMin(60000 * qint64(delay), qint64(std::numeric_limits<int>::max())) : -1;
        QVERIFY(delay > 0 ? qAbs(watchdog.remainingTime() - period) <= 2000 : watchdog.remainingTime() == -1);
        watchdog.checkMemory();
        QCOMPARE(watchdog.remainingTime() > 0, delay > 0);
    }

    void parameters_data()
    {
        columns<QString, QString, int>("key", "value", "figure"); // of a text 0, of a path its length; -1: refused
        const auto add = [](const char *key, const char *value, int figure) {
            row(qPrintable("%1=%2"_s.arg(QLatin1String(key), QLatin1String(value))), key, value, figure);
        };
        add("module_umask", "022", 18);
        add("module_umask", "777", 511);
        add("module_umask", "0", 0);
        for (const char *refused : {"1000", " 28", "-1", "", "2147483648"}) {
            add("module_umask", refused, -1);
        }
        add("launches_ahead", "0", -1);
        add("launches_ahead", " 1", 1);
        add("launches_ahead", "2147483647", 2147483647);
        add("reboot_fallback", "0", 0);
        add("reboot_fallback", "604800", 604800);
        add("reboot_fallback", "604801", -1);
        add("history_size", "64", 64);
        add("history_size", "63", -1);
        add("history_size", "65536", 65536);
        add("history_size", "65537", -1);
        add("module_output", "|x", 0);
        add("module_output", "|", -1);
        add("module_output", "file:a", -1);
        add("module_output_path", "/a", 2);
        add("module_output_path", "a", -1);
        add("unknown", "a", 0);
    }

    void parameters()
    {
        const auto [key, value, figure] = cells<QString, QString, int>();
        const auto figureOf = [key = key](const Parameters &parameters) {
            return QMap<QString, int>{{"module_umask"_s, parameters.moduleUmask ? int(*parameters.moduleUmask) : -1},
                                      {"launches_ahead"_s, parameters.launchesAhead},
                                      {"reboot_fallback"_s, parameters.rebootFallback.value_or(-1)},
                                      {"history_size"_s, parameters.historySize},
                                      {"module_output_path"_s, parameters.moduleOutput.pattern.size()}}
                .value(key);
        };
        QCOMPARE(figureOf(Parameters::read({{"module_output"_s, "|x"_s}, {key, value}})),
                 figure < 0 ? figureOf(Parameters()) : figure);
        const QString line = "warning platform.ini: %1=%2 is not valid, the default applies"_s.arg(key, value);
        QCOMPARE(m_root.log(), figure < 0 ? QStringList{line} : QStringList());
        QVERIFY(!Parameters::read({}).moduleUmask);
    }

    // A line that began before what is read is left out.
    void lastLines()
    {
        m_root.write("/out/M"_s, QByteArray(1500, 'a') + "\nb\n");
        const OutputSetting output = Parameters::read({{"module_output"_s, "file:/out/%n"_s}}).moduleOutput;
        QCOMPARE(output.lastLines("M"_s, 2), QStringList{"b"_s});
        QCOMPARE(output.lastLines("M"_s, 4).size(), 2);
    }

    // Those of the terminal; tests hand in shorter ones everywhere else.
    void shippedDurations()
    {
        using namespace std::chrono_literals;
        const ManagerTiming timing;
        const auto &[stop, stopWithEverything, presentation, waitReport, archive, launchAhead] = timing.module;
        QCOMPARE((QList<int>{stop, stopWithEverything, presentation, waitReport, archive, launchAhead}),
                 (QList<int>{30000, 2000, 45000, 30000, 10000, 5000}));
        QVERIFY(timing.watchdog.minute == 60s && timing.watchdog.restartDelay == 5s);
        QVERIFY(timing.reboot.retry == 1s && timing.reboot.minute == 60s && timing.reboot.second == 1s);
    }

    // The settings are read at the end of the first start alone, and each end begins a period of the watchdog.
    void endOfInit()
    {
        Watched supervision;
        supervision.bus.answer = [] { return replyOf("5"_s); };
        supervision.state.beginStart();
        Journal journal;
        EndOfInit end(supervision.state, supervision.bus, journal, supervision.settings, supervision.watchdog);
        for (int i = 0; i < 2; ++i) {
            supervision.watchdog.stopMonitoring();
            end.starting();
            QCOMPARE(supervision.bus.subscriptions, QStringList{"presentationReady"_s});
            end.remoteDisplayPresentationready(JovEvent());
            QVERIFY(supervision.bus.subscriptions.isEmpty());
            end.started();
            QVERIFY(supervision.watchdog.remainingTime() > 0 && !supervision.state.initInProgress());
        }
        QVERIFY(journal.endOfInitAt() > 0);
        QCOMPARE(supervision.bus.calls.size(), 2);
        QCOMPARE(supervision.bus.events, (QStringList{"end_of_init"_s, "end_of_init"_s}));
    }

    // Only the parent at the time of the fork is told, once. The child has taken a SIGTERM, which fails each start.
    void reportToTheParent()
    {
        const auto handler = std::signal(SIGUSR1, [](int /*number*/) { taken = 1; });
        const pid_t own = getpid();
        const pid_t child = fork();
        if (child == 0) {
            ParentReport report;
            report.setParent(own + 1);
            report.send(true);
            report.setParent(own);
            report.send(false);
            report.send(false);
            SupervisionState::noteTermination();
            _exit(SupervisionState().startFailed() ? 0 : 1);
        }
        int status = -1;
        while (waitpid(child, &status, 0) != child) { }
        std::signal(SIGUSR1, handler);
        QVERIFY(taken == 1 && status == 0);
        QCOMPARE(m_root.log(), QStringList{"debug Kill father (%1) with 12"_s.arg(own)});
    }

private:
    RootDir m_root;
};

QTEST_GUILESS_MAIN(ManagerTest)

#include "ManagerTest.moc"
