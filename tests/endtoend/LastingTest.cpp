#include "support/Terminal.h"

#include <QElapsedTimer>
#include <QTest>

namespace {

constexpr char fewModules[] = "step one 1\nstep five 5\nstep home 7 home\nA one\nB one <A --ready-after=10\n"
                              "E five --stop-after=5\nJovWebClient home --presentation-after=10\nK home <JovWebClient";

#if defined(__SANITIZE_ADDRESS__) || defined(EMULATED)
// The sanitizer's or the emulator's memory would be measured, too.
constexpr int restarts = 70;
constexpr bool memoryIsTelling = false;
#else
constexpr int restarts = 160;
constexpr bool memoryIsTelling = true;
#endif

qint64 privateKb(pid_t pid)
{
    return Processes::figure(pid, "smaps_rollup", "Private_Dirty");
}

// Before the first of three windows the timeline has filled the room that it has.
constexpr int window = 20;
constexpr int settled = restarts - 3 * window;

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
        qint64 before = 0;
        qint64 growth = 0;
        QMap<int, QString> descriptors;
        qint64 threads = 0;
        for (int i = 1; i <= restarts; ++i) {
            QCOMPARE(terminal.call("restart"_s), QString());
            if (i >= settled && (i - settled) % window == 0) {
                const qint64 now = privateKb(pid);
                growth = i == settled ? now : qMin(growth, now - before);
                before = now;
            }
            if (i == settled) {
                descriptors = Processes::descriptors(pid);
                threads = Processes::figure(pid, "status", "Threads");
            }
        }
        QVERIFY(terminal.waitForAll("RUNNING"_s));
        QCOMPARE(Processes::descriptors(pid).size(), descriptors.size());
        QCOMPARE(Processes::figure(pid, "status", "Threads"), threads);
        // A leaked record a restart would be more than this, in each of the windows.
        QVERIFY2(!memoryIsTelling || growth <= 12, qPrintable("%1 kB in %2 restarts"_s.arg(growth).arg(window)));
        // There, a module may take longer than the two seconds that a stop allows.
        QCOMPARE(memoryIsTelling ? terminal.log().filter("[Module]"_s) : QStringList(), QStringList());
    }
};

QTEST_GUILESS_MAIN(LastingTest)

#include "LastingTest.moc"
