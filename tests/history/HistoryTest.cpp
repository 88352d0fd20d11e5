#include "contract/HistoryNames.h"
#include "history/BlackBox.h"
#include "history/BootIdentity.h"
#include "support/DataTable.h"
#include "support/Processes.h"
#include "support/RootDir.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QSignalSpy>

#include <cerrno>
#include <csignal>

#include <sys/resource.h>
#include <sys/stat.h>

namespace Key = History::Key;

namespace {

QByteArray numbered(int number, int padding)
{
    return HistoryText::lineOf({{Key::version, History::version},
                                {Key::kind, QString(History::Kind::started)},
                                {Key::count, number},
                                {Key::by, QString(padding, u'x')}});
}

} // namespace

class HistoryTest : public QObject
{
    Q_OBJECT

    RootDir m_root;

private Q_SLOTS:
    void initTestCase()
    {
        m_root.keepLog(6);
        m_root.write("/directory/file"_s, {});
        m_root.write("/file"_s, {});
        QCOMPARE(mkfifo(QFile::encodeName(m_root.path("/fifo"_s)).constData(), 0600), 0);
    }

    void init()
    {
        m_root.write("/history"_s, {});
        QFile::remove(m_root.path("/history.old"_s));
    }

    // Power is lost in the middle of a write, 500 times: no record but that one is lost. Then the file system fills
    // what is lost with NUL.
    void cutAtEveryByte()
    {
        constexpr int size = 16 * 1024;
        const HistoryRing ring(QFile::encodeName(m_root.path("/history"_s)), size);
        QList<int> whole;
        for (int i = 0, cut = 0; i < 1000; ++i) {
            const QByteArray line = numbered(i, i % 200);
            QCOMPARE(ring.append(line), 0);
            const qint64 fileSize = QFileInfo(m_root.path("/history"_s)).size();
            cut = i % 2 == 0 ? cut : (cut + 1) % line.size();
            if (i % 2 == 1) {
                QVERIFY(QFile::resize(m_root.path("/history"_s), fileSize - line.size() + cut));
                QVERIFY(i < 500 || QFile::resize(m_root.path("/history"_s), fileSize));
            }
            if (i % 2 == 0 || cut == line.size() - 1) { // only its line feed is lost
                whole << i;
            }
            QList<int> found;
            const QByteArray text = m_root.read("/history.old"_s) + '\n' + m_root.read("/history"_s);
            const HistoryRecords records = HistoryText::parse(text);
            QCOMPARE(HistoryText::parseLastEnd(text), records); // without a start and a cause: all
            for (const QJsonObject &record : records) {
                found << record[Key::count].toInt();
            }
            QVERIFY2(found.size() >= qMin(whole.size(), 10) && found == whole.mid(whole.size() - found.size()),
                     QByteArray::number(i));
            QVERIFY(QFileInfo(m_root.path("/history"_s)).size() <= size / 2);
            QVERIFY(QFileInfo(m_root.path("/history.old"_s)).size() <= size / 2);
        }
        const QByteArray block(9, '\0');
        QCOMPARE(HistoryText::parse(block + numbered(7, 0).chopped(1) + block).size(), 1);
    }

    void limits()
    {
        QJsonArray lines;
        QJsonArray modules;
        for (int i = 0; i < 50; ++i) {
            lines << QString::number(i) + QString(600, QChar(0xE9));
        }
        for (int i = 0; i < 900; ++i) {
            modules << QJsonArray{"module-%1"_s.arg(i), 1, 1000000 + i, 2000000 + i};
        }
        QByteArray line = HistoryText::lineOf(
            {{Key::version, 1}, {Key::kind, "reboot"_s}, {Key::log, lines}, {Key::output, QJsonArray{lines[0]}}});
        QVERIFY(line.size() <= 16 * 1024 && line.size() > 15 * 1024);
        const QJsonObject record = HistoryText::parse(line).value(0);
        const QString last = record[Key::log].toArray().last().toString();
        QVERIFY(last.toUtf8().size() <= 500 && last.startsWith("49"_s));
        QVERIFY(record[Key::output][0].toString().toUtf8().size() <= 500);
        line = HistoryText::lineOf({{Key::version, 1},
                                    {Key::kind, "started"_s},
                                    {Key::boot, QJsonObject{{Key::modules, modules}, {Key::dependencies, modules}}}});
        QVERIFY(line.size() <= 24 * 1024 && line.size() > 23 * 1024);
        const QJsonObject boot = HistoryText::parse(line).value(0)[Key::boot].toObject();
        QCOMPARE(boot[Key::omitted].toInt() + boot[Key::modules].toArray().size(), 900);
    }

    // Two boots of a supervisor, which differ in how the first one ends.
    void causes_data()
    {
        columns<QVariantMap, bool, QString, QString, QString>("reason", "inOrder", "nextBootId", "cause", "records");
        const QVariantMap crash{{Key::cause, QString(History::Cause::crash)}, {Key::module, "store"_s}};
        row("crash", crash, true, "1", "crash", "start rebootcrash untaken endcrash start end");
        row("crash without an end", crash, false, "2", "crash", "start rebootcrash start");
        row("supervisor killed", QVariantMap(), false, "1", "killed", "start start");
        row("power lost", QVariantMap(), false, "2", "power", "start start");
    }

    void causes()
    {
        const auto [reason, inOrder, nextBootId] = cells<QVariantMap, bool, QString>();
        int boots = 0;
        for (const QString &bootId : {"1"_s, nextBootId}) {
            m_root.write("/run/boot_id"_s, bootId.toLatin1());
            BlackBox blackBox([] { return 3; });
            blackBox.begin(m_root.path("/history"_s), 64);
            if (!reason.isEmpty() && boots == 0) {
                for (int i = 0; i < 2; ++i) { // the second one says nothing new
                    blackBox.noteReboot(reason);
                    inOrder ? blackBox.noteUntaken() : void();
                }
                blackBox.noteReason({{Key::cause, QString(History::Cause::order)}});
            }
            if (inOrder) {
                blackBox.noteEnd();
            }
            ++boots;
            QTRY_COMPARE(m_root.read("/history"_s).count("\"start\""), boots);
        }
        const HistoryRecords records = HistoryText::parse(m_root.read("/history"_s));
        QVERIFY(records.first()[Key::clockOk].toBool() && records.first()[Key::step].toInt() == 3);
        QStringList ends;
        for (const QJsonObject &record : records) {
            ends << record[Key::kind].toString() + record[Key::cause].toString();
        }
        QTEST(ends.join(u' '), "records");
        const auto start = std::find_if(records.rbegin(), records.rend(), [](const QJsonObject &record) {
            return record[Key::kind].toString() == History::Kind::start;
        });
        QTEST((*start)[Key::previous].toString(), "cause");
        QTEST(records.last()[Key::totals].toObject().keys().join(u','), "cause");
        const QJsonObject ofModules = records.last()[Key::moduleTotals].toObject();
        QCOMPARE(ofModules["crash"_s].toObject()["store"_s].toInt(), reason.isEmpty() ? 0 : 1);
    }

    // The counts go on; of more than 32 modules the others are not counted.
    void manyModules()
    {
        QJsonObject modules;
        for (int i = 0; i < 32; ++i) {
            modules["m%1"_s.arg(i)] = 1;
        }
        m_root.write("/history"_s,
                     HistoryText::lineOf({{Key::version, 1},
                                          {Key::kind, "end"_s},
                                          {Key::cause, "crash"_s},
                                          {Key::totals, QJsonObject{{"crash"_s, 32}}},
                                          {Key::moduleTotals, QJsonObject{{"crash"_s, modules}}}}));
        m_root.write("/history.old"_s, "{\"torn");
        for (const auto &module : {"m0"_s, "another"_s}) {
            BlackBox blackBox([] { return 3; });
            blackBox.begin(m_root.path("/history"_s), 64);
            blackBox.noteReboot({{Key::cause, "crash"_s}, {Key::module, module}});
        }
        const QJsonObject last = HistoryText::parse(m_root.read("/history"_s)).last();
        QCOMPARE(last[Key::totals].toObject(), (QJsonObject{{"crash"_s, 34}}));
        modules["m0"_s] = 2;
        QCOMPARE(last[Key::moduleTotals].toObject(), (QJsonObject{{"crash"_s, modules}}));
    }

    void ring()
    {
        const QString path = "/new/history"_s;
        const HistoryRing ring(QFile::encodeName(m_root.path(path)), 16L * 1024);
        const QByteArray line = numbered(1, 100);
        const mode_t mask = umask(077);
        QCOMPARE(ring.append(line), 0);
        umask(mask);
        QCOMPARE(int(QFile::permissions(m_root.path(path))) & 0x0077, 0x0040);
        QCOMPARE(int(QFile::permissions(m_root.path("/new"_s))) & 0x0077, 0x0055);
        m_root.write(path + ".old"_s, QByteArray(9000, 'x')); // as of a larger setting
        QCOMPARE(ring.append(line), 0);
        QVERIFY(!QFile::exists(m_root.path(path + ".old"_s)));
        // The disk is full in the middle of a line: nothing of it is left.
        std::signal(SIGXFSZ, SIG_IGN);
        rlimit limit{};
        getrlimit(RLIMIT_FSIZE, &limit);
        const rlimit disk{rlim_t(2 * line.size() + 10), limit.rlim_max};
        setrlimit(RLIMIT_FSIZE, &disk);
        const int error = ring.append(line);
        setrlimit(RLIMIT_FSIZE, &limit);
        QCOMPARE(error, EFBIG);
        QCOMPARE(m_root.read(path), line + line);
    }

    void identity()
    {
        const QString file = "/etc/os-release"_s;
        m_root.write(file, "PRETTY_NAME=\"Terminal 4\"\nVERSION_ID='3'\nIMAGE_VERSION=\"3.1\"\n");
        QCOMPARE(BootIdentity::firmware(), "3.1"_s);
        QCOMPARE(BootIdentity::systemVersion(), "Terminal 4"_s);
        m_root.write(file, "VERSION_ID='3'\n");
        QCOMPARE(BootIdentity::firmware(), "3"_s);
    }

    // A disk that hangs, or a fault of the file: a reboot waits a second at most, and the log has one line.
    void unusable_data()
    {
        columns<QString, QString>("path", "line");
        row("no folder", "/no/folder/history", "No such file or directory");
        row("directory", "/directory", "Invalid argument");
        row("FIFO", "/fifo", "Invalid argument");
        row("in a file", "/file/history", "Not a directory");
        row("read-only", "/sys/history", "");
    }

    void unusable()
    {
        const auto [path, line] = cells<QString, QString>();
        const int from = m_root.log().size();
        BlackBox blackBox([] { return 0; });
        blackBox.begin(path.startsWith("/sys"_s) ? path : m_root.path(path), 64);
        blackBox.noteReboot({{Key::cause, QString(History::Cause::crash)}});
        blackBox.noteEnd();
        const QStringList warnings = m_root.log(from).filter("warning history: "_s);
        QCOMPARE(warnings.size(), 1);
        QVERIFY2(warnings.first().endsWith(line), qPrintable(warnings.first()));
    }

    // A restart reads the path and the size again. Half of 32 kB are not full yet.
    void anotherFile()
    {
        m_root.write("/one"_s, QByteArray(15999, 'x') + '\n');
        BlackBox blackBox([] { return 0; }, {1000, 300});
        blackBox.begin(m_root.path("/one"_s), 64);
        blackBox.begin(m_root.path("/one"_s), 32);
        blackBox.begin(m_root.path("/two"_s), 32);
        QTest::qWait(400);
        blackBox.noteEnd();
        QCOMPARE(m_root.read("/one"_s).count('\n'), 2);
        QCOMPARE(m_root.read("/two"_s).count('\n'), 2);
        blackBox.begin(m_root.path("/one"_s), 64);
        blackBox.begin(m_root.path("/one"_s), 16);
        blackBox.noteEnd();
        QVERIFY(!m_root.read("/one"_s).startsWith('x')); // more than 8 kB
    }

    void hanging()
    {
        ForkedTask task("am-test");
        QSignalSpy done(&task, &ForkedTask::done);
        int pipe[2];
        QCOMPARE(::pipe(pipe), 0);
        QVERIFY(task.start([](int output) {
            char byte = 0;
            return int(::read(STDOUT_FILENO, &byte, 1)) + (::write(output, "x", 1) == 1 ? 2 : 0);
        }));
        QVERIFY(task.wait(5000)); // its standard output is closed: it has nothing of ours
        QCOMPARE(done.value(0), (QVariantList{QByteArray("x"), 1}));
        QVERIFY(task.start([](int) { return ::kill(::getpid(), SIGSTOP); }));
        QVERIFY(!task.wait(100));
        kill(Processes::children(getpid()).last(), SIGCONT); // the others are of earlier functions
        QVERIFY(task.wait(5000));
    }
};

QTEST_GUILESS_MAIN(HistoryTest)

#include "HistoryTest.moc"
