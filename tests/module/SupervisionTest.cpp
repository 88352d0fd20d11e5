#include "module/LogArchive.h"
#include "support/DataTable.h"
#include "support/FakeSupervision.h"
#include "support/Processes.h"
#include "support/RootDir.h"

#include <QElapsedTimer>
#include <QSignalSpy>
#include <QSocketNotifier>
#include <QThread>

#include <csignal>
#include <ctime>

#include <unistd.h>

/// What the modules share: the waits, the request for a reboot, the archive of the logs.
class SupervisionTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void request_data()
    {
        columns<QStringList, int, int, int, QString>("replies", "fallback", "calls", "lines", "command");
        const QString none = "org.freedesktop.DBus.Error.ServiceUnknown"_s;
        const QString failed = "com.velmora.Jovara.Error.Failed"_s;
        const QString command = "--soft --owner ApplicationManager --reason A 'crashed'"_s;
        row("taken", QStringList{QString()}, 1, 1, 0, "");
        row("without a bus, then taken", QStringList{"no bus"_s, "no bus"_s, QString()}, -1, 3, 1, "");
        row("nobody there, then taken", QStringList{none, none, none, QString()}, 6000, 4, 1, "");
        row("taken before the fallback", QStringList{none, none, QString()}, 15, 3, 1, "");
        row("asked again, and then the first reply", QStringList{none, QString()}, -1, 2, 0, "");
        row("refused: not asked again", QStringList{failed}, -1, 1, 3, "");
        row("refused after a while", QStringList{none, none, failed}, -1, 3, 4, "");
        row("refused: fallback", QStringList{failed}, 1, 1, 1, command);
        row("never there: fallback", QStringList{none}, 20, -2, 1, command); // or more calls
    }

    // The lines come at each problem, a minute and 5 minutes later, until the request is taken or the fallback runs.
    void request()
    {
        const auto [replies, fallback, calls, lines, command] = cells<QStringList, int, int, int, QString>();
        m_root.keepLog();
        m_root.write("/command"_s, {});
        m_root.writeScript("/sbin/reboot"_s, "echo \"$*\" >>$JOV_ROOT/command");
        FakeSupervision supervision;
        if (fallback >= 0) {
            supervision.state.setParameters(Parameters::read({{"reboot_fallback"_s, QString::number(fallback)}}));
        }
        supervision.bus.answer = [left = replies]() mutable {
            const QString error = left.size() > 1 ? left.takeFirst() : left.first();
            return error.isEmpty() ? JovReply() : JovReply(error, "why"_s);
        };
        // A minute that passes only where its line is waited for, or must not come any more.
        const std::chrono::milliseconds minute(calls == 1 || lines == 4 ? 40 : 60000);
        const std::chrono::milliseconds tick(10);
        RebootRequest request(supervision.bus, supervision.state, {tick, minute, tick});
        const QSignalSpy untaken(&request, &RebootRequest::untaken);
        const auto logged = [this] { return m_root.log().filter("error no reboot yet (A 'crashed'): "_s).size(); };
        QElapsedTimer elapsed;
        elapsed.start();
        for (int i = 0; i < (calls == 2 ? 2 : 1); ++i) {
            request.send("A 'crashed'"_s);
        }
        QTRY_COMPARE(logged(), lines);
        QVERIFY(lines < 3 || (elapsed.elapsed() >= 190 && elapsed.elapsed() < 1200));
        const QStringList &asked = supervision.bus.calls;
        QTRY_VERIFY(asked.size() >= qAbs(calls));
        QTRY_COMPARE(QString::fromUtf8(m_root.read("/command"_s)).trimmed(), command);
        const int before = asked.size();
        QTest::qWait(150); // Another attempt, line or fallback would come by now.
        QCOMPARE(logged(), lines);
        QCOMPARE(untaken.size(), qMin(lines, 1));
        QCOMPARE(asked.size(), calls < 0 ? before : calls);
        QCOMPARE(asked.first(), "Platform.reboot,1,true,ApplicationManager,A 'crashed'"_s);
    }

    void wait_data()
    {
        columns<int, int, bool>("reachedAfter", "limit", "reached");
        row("at once", 0, -1, true);
        row("later", 100, -1, true);
        row("in time", 100, 5000, true);
        row("never", -1, 150, false);
        row("too late", 400, 150, false);
        row("no time", 0, 0, false);
    }

    void wait()
    {
        const auto [reachedAfter, limit] = cells<int, int>();
        WaitLoop waits;
        QSignalSpy idle(&waits, &WaitLoop::idle);
        bool reached = reachedAfter == 0;
        if (reachedAfter > 0) {
            QTimer::singleShot(reachedAfter, Qt::PreciseTimer, &waits, [&reached] { reached = true; });
        }
        QElapsedTimer elapsed;
        elapsed.start();
        const std::clock_t before = std::clock();
        QTEST(waits.waitUntil([&] { return reached; }, limit) == WaitLoop::Outcome::Reached, "reached");
        QVERIFY(elapsed.elapsed() + 1
                >= qMin(limit < 0 ? reachedAfter : limit, reachedAfter < 0 ? limit : reachedAfter));
        QVERIFY2(std::clock() - before < CLOCKS_PER_SEC / 20, "a wait sleeps");
        QCOMPARE(idle.count(), reachedAfter == 0 ? 0 : 1);
        QCOMPARE(waits.depth(), 0);
    }

    /// Two calls that arrive together: the wait that the first begins must not keep the second from being answered.
    void waitGoesOnWithTheBatch()
    {
        WaitLoop waits;
        bool reached = false;
        QEventLoop loop;
        WaitLoop::Outcome outcome = WaitLoop::Outcome::Released;
        const auto first = [&] {
            outcome = waits.waitUntil([&] { return reached; }, 5000);
            loop.quit();
        };
        QMetaObject::invokeMethod(&loop, first, Qt::QueuedConnection);
        const auto second = [&] {
            reached = true;
            waits.waitUntil([] { return false; }, 300);
        };
        QMetaObject::invokeMethod(&loop, second, Qt::QueuedConnection);
        const std::clock_t before = std::clock();
        loop.exec();
        QVERIFY2(std::clock() - before < CLOCKS_PER_SEC / 20, "a wait sleeps above one that is over");
        QCOMPARE(outcome, WaitLoop::Outcome::Reached);
    }

    // The whole process is stopped (SIGSTOP), or busy, for so long that a limit passes; what came in time is seen.
    void stoppedProcess()
    {
        int ends[2];
        QCOMPARE(pipe(ends), 0);
        QSocketNotifier notifier(ends[0], QSocketNotifier::Read);
        bool hasCome = false;
        connect(&notifier, &QSocketNotifier::activated, this, [&] {
            notifier.setEnabled(false);
            hasCome = true;
        });
        QTimer::singleShot(0, this, [&ends] {
            QVERIFY(write(ends[1], "x", 1) == 1);
            QThread::msleep(1200);
        });
        QCOMPARE(WaitLoop().waitUntil([&hasCome] { return hasCome; }, 100), WaitLoop::Outcome::Reached);
        close(ends[0]);
        close(ends[1]);
    }

    // The process that writes the second archive stands still.
    void hangingDisk()
    {
        m_root.keepLog();
        ModuleLimits limits;
        limits.archive = 10;
        SupervisionState state(limits);
        bool isReleased = false;
        LogArchive first(state);
        first.make([&isReleased] { isReleased = true; });
        QTRY_VERIFY(isReleased);
        isReleased = false;
        LogArchive archive(state);
        archive.make([&isReleased] { isReleased = true; });
        const pid_t child = Processes::children(getpid()).last(); // the others are of earlier functions
        kill(child, SIGSTOP);
        QTRY_VERIFY_WITH_TIMEOUT(isReleased, 3000);
        QCOMPARE(m_root.log().filter("the disk does not answer"_s).size(), 1);
        kill(child, SIGCONT);
        archive.cutOff();
    }

    void twoArchives()
    {
        SupervisionState state;
        LogArchive archive(state);
        bool isReleased = false;
        archive.make([] {});
        archive.make([&isReleased] { isReleased = true; });
        QTRY_VERIFY(isReleased);
        QVERIFY(QFile::exists(m_root.path("/log/log.var.tar.gz.1"_s)));
    }

private:
    RootDir m_root;
};

QTEST_GUILESS_MAIN(SupervisionTest)

#include "SupervisionTest.moc"
