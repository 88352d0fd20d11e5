#include "support/Terminal.h"

#include <QElapsedTimer>
#include <QTest>

namespace {

constexpr char tenModules[] = R"(step one 1
step five 5
step home 7 home
A one
B one <A --ready-after=10
C one <A
D one <B,C
E five --stop-after=5
F five <E
G five
H home
JovWebClient home <H --presentation-after=10
K home <JovWebClient)";

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
        for (int moment = 0; !up; moment += 10 + moment / 8) {
            Terminal terminal(tenModules);
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
        Terminal terminal(tenModules);
        terminal.root.keepLog(3);
        QCOMPARE(terminal.startDaemon(), 0);
        QVERIFY(terminal.waitForAll("RUNNING"_s));
        const pid_t pid = terminal.pid();
        qint64 tenth = 0;
        qint64 half = 0;
        int descriptors = 0;
        qint64 threads = 0;
        for (int i = 1; i <= restarts; ++i) {
            QCOMPARE(terminal.call("restart"_s), QString());
            half = i == restarts / 2 ? privateKb(pid) : half;
            if (i == 10) {
                tenth = privateKb(pid);
                descriptors = Processes::descriptors(pid).size();
                threads = Processes::figure(pid, "status", "Threads");
            }
        }
        QVERIFY(terminal.waitForAll("RUNNING"_s));
        const qint64 last = privateKb(pid);
        QCOMPARE(Processes::descriptors(pid).size(), descriptors);
        QCOMPARE(Processes::figure(pid, "status", "Threads"), threads);
        qInfo("private memory: %lld kB after 10 restarts, %lld kB after %d, %lld kB after %d", tenth, half,
              restarts / 2, last, restarts);
        // By half of them the timeline has filled the room that it has. A leaked record a restart would be more than
        // this.
        QVERIFY(!memoryIsTelling || last <= half + 100);
        QVERIFY(!memoryIsTelling || last <= tenth + 1000);
        // There, a module may take longer than the two seconds that a stop allows.
        QCOMPARE(memoryIsTelling ? terminal.log().filter("[Module]"_s) : QStringList(), QStringList());
    }

    // QtDBus remembers what it was asked for, at some 185 bytes a name.
    void unknownMethodsCostNothing()
    {
        Terminal terminal("step one 1\nA one");
        terminal.root.keepLog(3);
        QVERIFY(terminal.boot());
        qint64 early = 0;
        for (int i = 0; i < 6000; ++i) {
            QVERIFY(!terminal.call("unknown%1"_s.arg(i)).isEmpty());
            early = i == 1000 ? privateKb(terminal.pid()) : early;
        }
        const qint64 last = privateKb(terminal.pid());
        QVERIFY2(!memoryIsTelling || last <= early + 300, qPrintable("%1 kB, %2 kB"_s.arg(early).arg(last)));
    }
};

QTEST_GUILESS_MAIN(LastingTest)

#include "LastingTest.moc"
