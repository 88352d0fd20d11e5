#include "monitoring/ProcParser.h"
#include "monitoring/ProcReader.h"
#include "support/DataTable.h"
#include "support/RootDir.h"
#include "system/ProcStat.h"

#include <QElapsedTimer>

#include <csignal>
#include <cstdio>

#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

namespace {

const QString ownPid = "self"_s;

// The fields of `stat` up to the four times, the times, and `more` fields behind them.
QByteArray statText(const QByteArray &name, int more)
{
    return "7 (" + name + ") S 1 2 3 4 5 6 7 8 9 10 1000 200 30 4" + QByteArray(" 0").repeated(more) + "\n";
}

} // namespace

class ProcTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void fieldSum_data()
    {
        columns<QByteArray, QByteArray, qint64>("text", "field", "expected");
        const QByteArray mappings =
            "00-10 r-xp 00 fe:01 12 /lib/a\nRss:   12 kB\nPss: 7 kB\nRss: 30 kB\nRssAnon: 5\nXRss: 5\nrss: 5\n";
        row("all lines", mappings, QByteArray("Rss"), Q_INT64_C(42));
        row("beginning of a name", mappings, QByteArray("Rs"), Q_INT64_C(0));
        row("no field", QByteArray(":5\na:6\n::7"), QByteArray(), Q_INT64_C(12));
        row("no digits", QByteArray("A: none\nA:\nA: 4\n"), QByteArray("A"), Q_INT64_C(4));
        row("first digits, wherever", QByteArray("A:x-12,34 5\nA\n"), QByteArray("A"), Q_INT64_C(12));
        row("first digits in the name", QByteArray("4:memory:/a9\n4: 5\n"), QByteArray("4"), Q_INT64_C(8));
        row("over 32 bits", QByteArray("A: 3000000000\nA: 3000000000\n"), QByteArray("A"), Q_INT64_C(6000000000));
        row("over 64 bits", "A: 9" + QByteArray(40, '9') + "\nA: 1\n", QByteArray("A"), ProcParser::maxFigure);
    }

    void fieldSum()
    {
        const auto [text, field] = cells<QByteArray, QByteArray>();
        for (int piece = 1; piece <= text.size(); ++piece) {
            ProcParser::FieldSum sum(field);
            for (int start = 0; start < text.size(); start += piece) {
                const QByteArray part = text.mid(start, piece);
                sum.add(part.constData(), std::size_t(part.size()));
            }
            QTEST(sum.total(), "expected");
        }
    }

    void ticks_data()
    {
        columns<QByteArray, qint64>("text", "expected");
        row("plain", statText("sh", 30), Q_INT64_C(1234));
        row("name with blanks and parentheses", statText("a) S 1 (b c", 30), Q_INT64_C(1234));
        row("just enough", statText("sh", 1).trimmed(), Q_INT64_C(1234));
        row("too few", statText("sh", 0).trimmed(), Q_INT64_C(0));
        row("too few without a name", QByteArray("1 2 3\n4) (5"), Q_INT64_C(0));
    }

    void ticks()
    {
        QFETCH(QByteArray, text);
        const ProcStat stat = ProcStat::parse(text).value_or(ProcStat());
        QTEST(stat.ownTicks + stat.childTicks, "expected");
    }

    void fields()
    {
        const std::optional<ProcStat> stat =
            ProcStat::parse("12 (a name) with) 1 2 3) Z 1 -2 3 4 5 6 7 8 9 10 300 200 0 0 20 0 7 0 99 1024 25 0\n");
        QVERIFY(stat);
        QCOMPARE((QList<qint64>{stat->pid, stat->state, stat->parent, stat->processGroup, stat->ownTicks, stat->threads,
                                qint64(stat->startTime), stat->virtualBytes, stat->residentPages}),
                 (QList<qint64>{12, 'Z', 1, -2, 500, 7, 99, 1024, 25}));
    }

    void memoryInformation()
    {
        const ProcReader reader(m_root.path());
        QCOMPARE(reader.getTotalMemory(), 0);
        m_root.write("/meminfo"_s, "MemTotal:\nMemFree:\t  123 kB\nMemTotal:  5000000000 kB\n");
        QCOMPARE(reader.totalMemory(), Q_INT64_C(5000000000));
        QCOMPARE(reader.getTotalMemory(), std::numeric_limits<int>::max());
        QCOMPARE(reader.getFreeMemory(), 123);
    }

    void strangeFile_data()
    {
        columns<QString, int>("file", "expected");
        row("status", "status", 7);
        row("task/8//status", "task/8//status", 8);
        row("largest", "largest", 7);
        for (const char *refused : {"", "task", "missing", "status/more", "../meminfo", "task/../status",
                                    "task/8/root/status", "link", "pipe", "endless"}) {
            row(refused, refused, 0);
        }
    }

    void strangeFile()
    {
        const QString process = "/42/"_s;
        m_root.write("/meminfo"_s, "Rss: 9\n");
        m_root.write(process + "status"_s, "Rss: 7\n");
        m_root.write(process + "task/8/status"_s, "Rss: 8\n");
        for (const auto &[name, size] : {std::pair("endless"_s, qint64(1) << 40), {"largest"_s, qint64(1) << 26}}) {
            m_root.write(process + name, "Rss: 7\n");
            QVERIFY(QFile::resize(m_root.path(process + name), size));
        }
        // Links and pipes of an earlier row are as good.
        if (::mkfifo(qPrintable(m_root.path(process + "pipe"_s)), 0600) == 0) {
            m_root.link(process + "link"_s, "status"_s);
            m_root.link(process + "task/8/root"_s, m_root.path(process));
        }
        QFETCH(QString, file);
        QTEST(ProcReader(m_root.path()).getMemoryUsage("42"_s, file, "Rss"_s), "expected");
        QCOMPARE(ProcReader(m_root.path()).getMemoryUsage(QString(), process + file, "Rss"_s), 0);
    }

    void realProcess()
    {
        const ProcReader reader;
        const int resident = reader.getMemoryUsage(ownPid);
        const int size = reader.getMemoryUsage(ownPid, "status"_s, "VmSize"_s);
        QVERIFY2(resident > 1000 && resident < size, qPrintable("%1 of %2"_s.arg(resident).arg(size)));
        QVERIFY(reader.getFreeMemory() > 0 && reader.getFreeMemory() < reader.getTotalMemory());
        QCOMPARE(reader.getMemoryUsage(ownPid, "mem"_s, "x"_s), 0);
    }

    // A signal that comes meanwhile does not shorten it. It brings ten more ticks, or the end of the process.
    void measurement()
    {
        static const QByteArray stat = QFile::encodeName(m_root.path("/7/stat"_s));
        static const QByteArray later = QFile::encodeName(m_root.path("/7/later"_s));
        m_root.write("/7/stat"_s, statText("sh", 30));
        m_root.write("/7/later"_s, statText("sh", 30).replace("1000", "1010"));
        struct sigaction action = {};
        action.sa_handler = [](int) { std::rename(later, stat) != 0 ? ::unlink(stat) : 0; };
        ::sigaction(SIGALRM, &action, nullptr);
        const ProcReader reader(m_root.path());
        const auto usage = [&reader] {
            const itimerval soon = {{}, {0, 5000}};
            ::setitimer(ITIMER_REAL, &soon, nullptr);
            QElapsedTimer timer;
            timer.start();
            const double measured = reader.getCpuUsage("7"_s, std::chrono::milliseconds(100));
            return timer.elapsed() >= 100 ? measured : -1;
        };
        QCOMPARE(reader.getProcessTicks("7"_s), qint64(1234));
        QCOMPARE(usage(), 1.0);
        QCOMPARE(usage(), 0.0);
    }

private:
    RootDir m_root;
};

QTEST_GUILESS_MAIN(ProcTest)
#include "ProcTest.moc"
