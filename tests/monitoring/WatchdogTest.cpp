#include "monitoring/ApplicationMemory.h"
#include "monitoring/MemoryWatchdog.h"
#include "monitoring/RetryPolicy.h"
#include "support/DataTable.h"
#include "support/FakeSupervision.h"
#include "support/RootDir.h"

#include <jov/JovException.h>

#include <QElapsedTimer>

#include <stdexcept>

namespace {

constexpr std::chrono::milliseconds minute(10);
constexpr std::chrono::milliseconds restartDelay(40);
constexpr int day = 24 * 60 * 60;
const QDateTime start(QDate(2026, 3, 27), QTime(12, 0));
const QString rebootCall = "Platform.reboot,1,false,ApplicationManager,Too much faulty applications restart"_s;

} // namespace

class WatchdogTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { m_root.write("/meminfo"_s, "MemTotal: 1000000 kB\n"); }

    void init()
    {
        m_watchdog.reset();
        m_supervision = std::make_unique<FakeSupervision>();
        m_now = start;
        const WatchdogTiming timing{minute, restartDelay, [this] { return m_now; }};
        m_watchdog = std::make_unique<MemoryWatchdog>(m_supervision->bus, *m_supervision, m_supervision->catalogue,
                                                      ProcReader(m_root.path()), timing);
        m_watchdog->setMonitoringWatchDelay(1);
        m_root.keepLog(4);
    }

    void limits_data()
    {
        columns<int, qint64, qint64, bool>("limit", "used", "total", "exceeded");
        row("none", 0, Q_INT64_C(1000), Q_INT64_C(1000), false);
        row("percentage met", 50, Q_INT64_C(509999), Q_INT64_C(1000000), false);
        row("percentage exceeded", 50, Q_INT64_C(510000), Q_INT64_C(1000000), true);
        row("largest percentage", 99, Q_INT64_C(1000), Q_INT64_C(1000), true);
        row("size met", 100, Q_INT64_C(100), Q_INT64_C(100), false);
        row("size exceeded", 100, Q_INT64_C(101), Q_INT64_C(0), true);
        row("percentage of nothing", 1, Q_INT64_C(1000), Q_INT64_C(0), false);
        row("terabytes", 99, Q_INT64_C(20000000000), Q_INT64_C(1000000), true);
    }

    void limits()
    {
        const auto [limit, used, total] = cells<int, qint64, qint64>();
        QTEST(MemoryCeiling(limit).isExceeded(used, total), "exceeded");
    }

    void webClient()
    {
        const ProcReader reader(m_root.path());
        QVERIFY(enoughMemory(m_supervision->catalogue, reader));
        setUsage("JovWebClient"_s, 510000, 50);
        QVERIFY(!enoughMemory(m_supervision->catalogue, reader));
        m_supervision->catalogue.find("JovWebClient"_s)->setID("0"_s);
        QVERIFY(enoughMemory(m_supervision->catalogue, reader));
    }

    void retries_data()
    {
        // The sizes of the history after each; negative when a reboot is due.
        columns<int, int, QList<int>, QList<int>>("maxRetries", "time2remove", "times", "sizes");
        using Ints = QList<int>;
        row("within the period", 3, 3600, Ints{0, 100, 200}, Ints{1, 2, -3});
        row("each forgotten", 3, 60, Ints{0, 100, 200}, Ints{1, 1, 1});
        row("exactly the period", 2, 100, Ints{0, 99, 199}, Ints{1, -2, 1});
        row("never forgotten", 2, 0, Ints{0, 10 * day}, Ints{1, -2});
        row("over a change to summer time", 2, 2 * day, Ints{0, 2 * day - 1}, Ints{1, -2});
        row("clock set back", 2, 60, Ints{1000, 0}, Ints{1, -2});
    }

    void retries()
    {
        const auto [maxRetries, time2remove, times] = cells<int, int, QList<int>>();
        ApplicationRecord record;
        QList<int> sizes;
        for (const int time : times) {
            const bool due = RetryPolicy::addRetry(record, maxRetries, time2remove, start.addSecs(time));
            sizes.append(due ? -record.getRestartTimes().size() : record.getRestartTimes().size());
        }
        QTEST(sizes, "sizes");
        for (const int maximum : {1, 0, -1}) {
            record.setRestartTimes({start});
            QCOMPARE(RetryPolicy::addRetry(record, maximum, time2remove, start), maximum == 1);
            QVERIFY(record.getRestartTimes().isEmpty());
        }
    }

    void reboot_data()
    {
        columns<QString, QString>("answer", "error");
        const QString text = "error ApplicationManager::checkMemory error while contacting Platform for reboot"_s;
        row("accepted", "", QString());
        row("refused", "refused", text + " (reply not valid):"_s);
        row("no bus", "no %1 bus", text + ": no %1 bus"_s);
        row("other exception", "other", text);
    }

    void reboot()
    {
        const auto [answer, error] = cells<QString, QString>();
        m_supervision->bus.answer = [answer = answer] {
            if (answer.startsWith("no"_s)) {
                throw new JovException(nullptr, JovException::BusUnavailable, answer);
            }
            return answer == "other"_s ? throw std::runtime_error("other") : JovReply(answer, QString());
        };
        setUsage("leak"_s, 1001, 1000);
        setUsage("other"_s, 1000, 1000);
        m_watchdog->setMonitoringWatchRetry(1);
        m_watchdog->startMonitoring();
        m_watchdog->checkMemory();
        const QStringList &calls = m_supervision->bus.calls;
        QCOMPARE(calls, QStringList(rebootCall));
        QCOMPARE(m_supervision->state.isRebootRequested(), error.isEmpty());
        QCOMPARE(m_watchdog->remainingTime(), -1);
        QStringList lines = {
            "error checkMemory module leak Too much memory (VmSize=1001 MemTotal=1000000 MaxMem=1000 percentage=0)"_s,
            "emergency checkMemory: leak is over its limit (1001 kB of 1000 kB, excess 1): asking for a reboot"_s};
        QString notes = "reboot cause=memory ceiling=1000 count=1 module=leak size=1001"_s;
        if (!error.isEmpty()) {
            lines << error << "error checkMemory: Modules (leak) use too much memory"_s;
            notes += " refused"_s;
            QTRY_COMPARE(calls.size(), 3);
        } else {
            QTest::qWait(3 * int(restartDelay.count()));
        }
        QCOMPARE(calls.size(), error.isEmpty() ? 1 : 3);
        QCOMPARE(m_supervision->observer.notes.join(u' '), notes);
        QCOMPARE(m_root.log(), lines);
    }

    void rememberedRestart_data()
    {
        columns<int, int, bool>("delay", "seconds", "reboot");
        row("a minute", 1, 999, true);
        row("a minute, over", 1, 1000, false);
        row("two minutes", 2, 1999, true);
    }

    // For 1000 seconds for each minute between two checks.
    void rememberedRestart()
    {
        const auto [delay, seconds] = cells<int, int>();
        setUsage("leak"_s, 1001, 1000);
        m_watchdog->setMonitoringWatchDelay(delay);
        m_watchdog->setMonitoringWatchRetry(2);
        m_watchdog->checkMemory();
        m_now = start.addSecs(seconds);
        m_watchdog->checkMemory();
        QTEST(m_supervision->bus.calls.contains(rebootCall), "reboot");
    }

    void restartsOnce()
    {
        setUsage("b"_s, 990000, 50);
        setUsage("a"_s, 101, 100);
        setUsage("calm"_s, 5, 100);
        setUsage("unwatched"_s, 990000, 0);
        QVERIFY(!m_supervision->catalogue.applicationMap["empty"_s]);
        m_watchdog->setMonitoringWatchRetry(5);
        m_supervision->onStart = [this] {
            setUsage("a"_s, 10, 100);
            setUsage("b"_s, 10, 50);
            m_watchdog->startMonitoring();
        };
        m_watchdog->startMonitoring();
        QElapsedTimer elapsed;
        elapsed.start();
        QTRY_COMPARE(m_supervision->bus.calls, QStringList({"stop a"_s, "stop b"_s, "startAll"_s}));
        QVERIFY(elapsed.elapsed() >= restartDelay.count());
        QCOMPARE(m_root.log().last(), "error checkMemory: Modules (a, b) use too much memory"_s);
        QTest::qWait(3 * int(restartDelay.count()));
        QCOMPARE(m_supervision->bus.calls.size(), 3);
    }

    void restartsAlsoWhatHasEnded()
    {
        setUsage("gone"_s, 101, 100);
        setUsage("removed"_s, 101, 100);
        m_watchdog->checkMemory();
        m_watchdog->checkMemory();
        m_supervision->catalogue.find("gone"_s)->setID("0"_s);
        m_supervision->catalogue.applicationMap.erase("removed"_s);
        QTRY_COMPARE(m_supervision->bus.calls, QStringList({"stop gone"_s, "startAll"_s}));
        QVERIFY(m_watchdog->outOfMemoryModules().isEmpty());
    }

    void cancelled()
    {
        setUsage("a"_s, 101, 100);
        m_watchdog->startMonitoring();
        m_watchdog->checkMemory();
        m_watchdog->cancel();
        QTest::qWait(3 * int(restartDelay.count()));
        QCOMPARE(m_supervision->bus.calls, QStringList());

        m_supervision->onStop = [this] { m_watchdog->cancel(); };
        setUsage("b"_s, 101, 100);
        m_watchdog->checkMemory();
        QTRY_COMPARE(m_supervision->bus.calls, QStringList("stop a"_s));
    }

    // A start can wait for ever: what is stopped meanwhile would stay down, and nothing would be checked any more.
    void keepsRunningWhatItCannotStart()
    {
        setUsage("a"_s, 101, 100);
        m_watchdog->startMonitoring();
        m_supervision->onStart = [&] {
            setUsage("a"_s, 10, 100);
            setUsage("b"_s, 101, 100);
            m_watchdog->startMonitoring();
            QTRY_VERIFY(m_root.log().contains(
                "warning checkMemory: Modules (b) keep running: the last restart has not ended"_s));
            setUsage("b"_s, 10, 100);
            QTRY_VERIFY(m_watchdog->remainingTime() >= 0);
        };
        QTRY_COMPARE(m_supervision->bus.calls, QStringList({"stop a"_s, "startAll"_s}));
        QTest::qWait(3 * int(restartDelay.count()));
        QCOMPARE(m_supervision->bus.calls.size(), 2);
    }

private:
    void setUsage(const QString &name, qint64 vmSize, int limit)
    {
        std::unique_ptr<ApplicationRecord> &record = m_supervision->catalogue.applicationMap[name];
        if (!record) {
            record = std::make_unique<ApplicationRecord>();
            record->setName(name);
            record->setID(QString::number(100 + m_supervision->catalogue.applicationMap.size()));
        }
        record->setMaxMemory(MemoryCeiling(limit));
        m_root.write("/%1/status"_s.arg(record->getID()), "VmSize:\t" + QByteArray::number(vmSize) + " kB\n");
    }

    RootDir m_root;
    std::unique_ptr<FakeSupervision> m_supervision;
    QDateTime m_now = start;
    std::unique_ptr<MemoryWatchdog> m_watchdog;
};

QTEST_GUILESS_MAIN(WatchdogTest)
#include "WatchdogTest.moc"
