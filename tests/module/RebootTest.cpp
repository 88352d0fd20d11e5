#include "module/LogArchive.h"
#include "support/DataTable.h"
#include "support/FakeSupervision.h"
#include "support/Processes.h"
#include "support/RootDir.h"

#include <QElapsedTimer>
#include <QFile>
#include <QSignalSpy>
#include <QSocketNotifier>
#include <QThread>

#include <csignal>

#include <unistd.h>

class RebootTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void request_data()
    {
        columns<QStringList, int, QString, int, QString>("replies", "fallback", "calls", "lines", "command");
        const QString none = "org.freedesktop.DBus.Error.ServiceUnknown"_s;
        const QString failed = "com.velmora.Jovara.Error.Failed"_s;
        row("taken", QStringList{QString()}, 1, "1", 0, "");
        row("without a bus, then taken", QStringList{"no bus"_s, "no bus"_s, QString()}, -1, "3", 1, "");
        row("nobody there, then taken", QStringList{none, none, none, QString()}, 9, "4", 1, "");
        row("asked again, and then the first reply", QStringList{none, QString()}, -1, "2", 0, "");
        row("refused: not asked again", QStringList{failed}, -1, "1", 3, "");
        row("refused: fallback", QStringList{failed}, 1, "1", 2,
            "--soft --owner ApplicationManager --reason A 'crashed'");
        row("never there: fallback", QStringList{none}, 1, "many", 2,
            "--soft --owner ApplicationManager --reason A 'crashed'");
    }

    // The lines come at the problem, a minute (of 50 ms) and 5 minutes later.
    void request()
    {
        QFETCH(QStringList, replies);
        QFETCH(QString, calls);
        QFETCH(int, lines);
        QFETCH(QString, command);
        m_root.keepLog();
        m_root.writeScript("/sbin/reboot"_s, "echo \"$*\" >>$JOV_ROOT/command");
        FakeSupervision supervision;
        QFETCH(int, fallback);
        if (fallback >= 0) {
            supervision.state.setParameters(Parameters::read({{"reboot_fallback"_s, QString::number(fallback)}}));
        }
        supervision.bus.answer = [&replies] {
            const QString error = replies.size() > 1 ? replies.takeFirst() : replies.first();
            return error.isEmpty() ? JovReply() : JovReply(error, "why"_s);
        };
        const QSignalSpy untaken(&supervision.reboot, &RebootRequest::untaken);
        QElapsedTimer elapsed;
        elapsed.start();
        for (int i = 0; i < (calls == "2"_s ? 2 : 1); ++i) {
            supervision.reboot.send("A 'crashed'"_s);
        }
        QTRY_COMPARE(m_root.log().filter("error no reboot yet (A 'crashed'): "_s).size(), lines);
        QCOMPARE(untaken.size(), qMin(lines, 1));
        QVERIFY(lines < 3 || elapsed.elapsed() >= 230);
        QTRY_COMPARE(QString::fromUtf8(m_root.read("/command"_s)).trimmed(), command);
        QTest::qWait(lines < 2 ? 50 : 0); // Another attempt would come within 10 ms.
        const int asked =
            supervision.bus.calls.filter("Platform.reboot,1,true,ApplicationManager,A 'crashed'"_s).size();
        QVERIFY2(calls == "many"_s ? asked > 2 : asked == calls.toInt(), qPrintable(QString::number(asked)));
        QFile::remove(m_root.path("/command"_s));
    }

    // The process that writes the archive stands still.
    void hangingDisk()
    {
        m_root.keepLog();
        ModuleLimits limits;
        limits.archive = 10;
        SupervisionState state(limits);
        LogArchive archive(state);
        bool isReleased = false;
        archive.make([&isReleased] { isReleased = true; });
        const QList<pid_t> children = Processes::children(getpid());
        QCOMPARE(children.size(), 1);
        kill(children.first(), SIGSTOP);
        QTRY_VERIFY_WITH_TIMEOUT(isReleased, 3000);
        QVERIFY(m_root.log().value(0).endsWith("the disk does not answer"_s));
        kill(children.first(), SIGCONT);
        archive.cutOff();
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

private:
    RootDir m_root;
};

QTEST_GUILESS_MAIN(RebootTest)

#include "RebootTest.moc"
