#include "support/Terminal.h"

#include <QElapsedTimer>
#include <QTest>

namespace {

constexpr char fewModules[] = "step one 1\nstep five 5\nstep home 7 home\nA one\nB one <A --ready-after=10\n"
                              "E five --stop-after=5\nJovWebClient home --presentation-after=10\nK home <JovWebClient";

#if defined(__SANITIZE_ADDRESS__) || defined(EMULATED)
// The sanitizer's or the emulator's memory would be measured, too.
constexpr int restarts = 40;
constexpr bool memoryIsTelling = false;
#else
constexpr int restarts = 200;
constexpr bool memoryIsTelling = true;
#endif

qint64 privateKb(pid_t pid)
{
    return Processes::figure(pid, "smaps_rollup", "Private_Dirty");
}

} // namespace

class LastingTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Until the boot has been through, in growing steps, or a busy machine is never done; as soon as its handler
    // stands, and before.
    void terminateAtAnyMoment()
    {
        bool up = false;
        for (int moment = 0; !up; moment += 5 + moment / 8) {
            Terminal terminal(fewModules);
            terminal.start();
            QElapsedTimer timer;
            timer.start();
            // Before its handler stands the signal ends it as it ends any process.
            while (!Processes::catches(terminal.pid(), SIGTERM)) { }
            while (timer.elapsed() < moment) {
                QTest::qWait(1);
            }
            up = terminal.logCount("initStepDone: 8"_s) > 0;
            timer.restart();
            const int status = terminal.end(SIGTERM);
            const QByteArray when = "after " + QByteArray::number(moment) + " ms";
            QVERIFY2(status == 0, when.constData());
            QVERIFY2(timer.elapsed() < 10000, when.constData());
            QVERIFY2(terminal.leftBehind().isEmpty(), when.constData());
            QVERIFY2(terminal.logCount("emergency"_s) == 0, when.constData());
        }
    }

    void restartsCostNothing()
    {
        Terminal terminal(fewModules);
        terminal.root.keepLog(3);
        QCOMPARE(terminal.startDaemon(), 0);
        QVERIFY(terminal.waitForAll("RUNNING"_s));
        const pid_t pid = terminal.pid();
        qint64 half = 0;
        QMap<int, QString> descriptors;
        qint64 threads = 0;
        for (int i = 1; i <= restarts; ++i) {
            QCOMPARE(terminal.call("restart"_s), QString());
            if (i == restarts / 2) {
                half = privateKb(pid);
                descriptors = Processes::descriptors(pid);
                threads = Processes::figure(pid, "status", "Threads");
            }
        }
        QVERIFY(terminal.waitForAll("RUNNING"_s));
        const qint64 last = privateKb(pid);
        QCOMPARE(Processes::descriptors(pid).size(), descriptors.size());
        QCOMPARE(Processes::figure(pid, "status", "Threads"), threads);
        qInfo("private memory: %lld kB after %d restarts, %lld kB after %d", half, restarts / 2, last, restarts);
        // A leaked record a restart would be more than this; the timeline has nearly filled its room by half of them.
        QVERIFY(!memoryIsTelling || last <= half + 100);
        // There, a module may take longer than the two seconds that a stop allows.
        QCOMPARE(memoryIsTelling ? terminal.log().filter("[Module]"_s) : QStringList(), QStringList());
    }
};

QTEST_GUILESS_MAIN(LastingTest)

#include "LastingTest.moc"
