#include "logger/PlatformLogger.h"
#include "logger/RecentLines.h"
#include "support/DataTable.h"
#include "support/RootDir.h"

#include <jov/Log.h>

#include <QDir>
#include <QFile>
#include <QRegularExpression>

#include <csignal>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

/// Replaces standard error while it lives.
class StandardError
{
public:
    explicit StandardError(int descriptor) { dup2(descriptor, STDERR_FILENO); }
    ~StandardError()
    {
        dup2(m_saved, STDERR_FILENO);
        close(m_saved);
    }

private:
    const int m_saved = dup(STDERR_FILENO);
};

/// Writes line feeds until the next would have to wait; false when none fitted.
bool fill(int descriptor)
{
    const int flags = fcntl(descriptor, F_GETFL);
    fcntl(descriptor, F_SETFL, flags | O_NONBLOCK);
    bool fitted = false;
    while (write(descriptor, "\n", 1) == 1) {
        fitted = true;
    }
    fcntl(descriptor, F_SETFL, flags);
    return fitted;
}

/// A socket as that of a syslog daemon that hangs.
int fullSyslog(const QByteArray &path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    qstrncpy(address.sun_path, path, sizeof address.sun_path);
    const auto *name = reinterpret_cast<const sockaddr *>(&address);
    const int reader = socket(AF_UNIX, SOCK_DGRAM, 0);
    bool fitted = bind(reader, name, sizeof address) == 0;
    while (fitted) { // one writer alone would meet a limit of its own first
        const int writer = socket(AF_UNIX, SOCK_DGRAM, 0);
        fitted = connect(writer, name, sizeof address) == 0 && fill(writer);
        close(writer);
    }
    return reader;
}

/// At most `most` bytes of what is there: all of a stream, or one datagram.
QByteArray take(int descriptor, int most = 1 << 20)
{
    QByteArray part(most, '\0');
    fcntl(descriptor, F_SETFL, O_NONBLOCK);
    part.truncate(int(qMax(ssize_t(0), read(descriptor, part.data(), size_t(most)))));
    return part;
}

} // namespace

class LoggerTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void options_data()
    {
        columns<QByteArray, int, QString>("ini", "level", "file");
        row("both", QByteArray("[log]\nlevel=7\nfile=/var/log/a.log\n"), 7, "/var/log/a.log");
        row("empty", QByteArray(), 6, "");
        row("no number", QByteArray("[log]\nlevel=loud\n"), 6, "");
        row("out of range", QByteArray("[log]\nlevel=99\nfile=a.log\n"), 7, "/a.log");
        row("rubbish", QByteArray("\0\xff\xfe[[[=\n=\n[log\nlevel\n@Variant(\0\0\0", 30), 6, "");
        row("object", QByteArray("[log]\nlevel=3\nk=@Variant(\\0\\0\\0\\t\\x7f\\xff\\xff\\xff)\n"), 6, "");
        row("escaped object",
            QByteArray("[log]\nlevel=3\nk=\\x10040\"V\\141\"riant(\\0\\0\\0\\t\\x7f\\xff\\xff\\xff)\n"), 6, "");
        row("like an object", QByteArray("[log]\nlevel=3\nfile=a@b(@Varian(@ByteArray(\n"), 3,
            "/a@b(@Varian(@ByteArray(");
        row("huge", QByteArray("[log]\nlevel=7\n") + QByteArray(3000000, '#'), 6, "");
    }

    void options()
    {
        const auto [ini, level, file] = cells<QByteArray, int, QString>();
        m_root.write("/etc/JovApplication/platform.ini"_s, ini);
        const LogOptions options = LogOptions::read();
        QCOMPARE(options.level, level);
        QCOMPARE(options.file, file.isEmpty() ? QString() : m_root.path(file));
    }

    void lines_data()
    {
        columns<QString, QByteArray>("text", "written");
        row("plain", "[Module] a : b", QByteArray("[Module] a : b"));
        row("forged", "a\n2026-11-21T10:00:00.123 error b\r\n",
            QByteArray("a\\n2026-11-21T10:00:00.123 error b\\r\\n"));
        row("Unicode", "caf\u00e9 \u6d4b"_s, QByteArray("caf\xc3\xa9 \xe6\xb5\x8b"));
        row("format", "100%s %1 %n", QByteArray("100%s %1 %n"));
        row("empty", "", QByteArray());
        row("as long as may be", QString(8192, u'x'), QByteArray(8192, 'x'));
        row("too long", QString(10000000, u'x'), QByteArray(8192, 'x') + "... (9991808 more characters)");
        row("cut before a pair", QString(8191, u'x') + "\U0001f600"_s,
            QByteArray(8191, 'x') + "... (2 more characters)");
    }

    void lines()
    {
        const auto [text, written] = cells<QString, QByteArray>();
        const QString path = "/lines"_s;
        m_root.write(path, QByteArray());
        PlatformLogger log(LogOptions{JovLogger::Warning, m_root.path(path)});
        log.emergency(text);
        log.warning(text);
        log.info(text);
        log.setLevel(JovLogger::Debug);
        log.debug(text);
        QByteArrayList expected;
        for (const char *level : {" emergency ", " warning ", " debug "}) {
            expected << level + written;
        }
        QByteArrayList got = m_root.read(path).split('\n');
        QVERIFY(got.takeLast().isEmpty());
        const QRegularExpression stamp("\\A\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\\.\\d{3} "_s);
        for (QByteArray &line : got) {
            QVERIFY2(stamp.match(QString::fromUtf8(line)).hasMatch(), line);
            line = line.mid(23);
        }
        QCOMPARE(got, expected);
    }

    void belowTheLevelNothingIsBuilt()
    {
        QCOMPARE(Log::Detail::format("%1 %2 %3", "%2"_s, true, 1.5), "%2 true 1.5"_s);
        QCOMPARE(Log::Detail::format("a %1", "%1%2"_s), "a %1%2"_s);
        bool built = false;
        logger().setLevel(JovLogger::Info);
        Log::debug("%1", [&] {
            built = true;
            return QString();
        });
        QVERIFY(!built);
    }

    void recentLines()
    {
        for (int i = 0; i < 60; ++i) {
            rememberLogLine(JovLogger::Info, QString::number(i));
        }
        const QByteArrayList lines = recentLogLines();
        QCOMPARE(lines.size(), 50);
        QVERIFY(lines.first().endsWith(" info 10") && lines.last().endsWith(" info 59"));
    }

    void fileIsRotated()
    {
        const QString path = m_root.path("/rotated"_s);
        LogSink sink(path);
        sink.write(JovLogger::Info, "before"_s);
        QVERIFY(QFile::rename(path, path + ".1"_s));
        sink.write(JovLogger::Info, "after"_s);
        QCOMPARE(m_root.read("/rotated"_s).count(" info "), 1);
        QVERIFY(QFile::remove(path));
        sink.write(JovLogger::Info, "last"_s);
        QVERIFY(m_root.read("/rotated"_s).endsWith(" info last\n"));
    }

    void fileCannotBeUsed_data()
    {
        columns<QString>("place");
        row("no folder", "/missing/log");
        row("a FIFO without a reader", "/fifo");
        if (QFile::exists("/dev/full"_s)) { // which a container can lack
            row("a full disk", "/full");
        }
        row("standard error was asked for", "");
    }

    void fileCannotBeUsed()
    {
        QFETCH(QString, place);
        mkfifo(qPrintable(m_root.path("/fifo"_s)), 0600);
        QFile::link("/dev/full"_s, m_root.path("/full"_s));
        m_root.write("/stderr"_s, QByteArray());
        const int file = open(qPrintable(m_root.path("/stderr"_s)), O_WRONLY | O_APPEND);
        const StandardError standardError(file);
        close(file);
        LogSink sink(place.isEmpty() ? QString() : m_root.path(place));
        sink.write(JovLogger::Error, "one"_s);
        const bool mendable = place.startsWith("/missing"_s);
        if (mendable) {
            m_root.write(place, QByteArray());
            sink.write(JovLogger::Error, "into the file"_s);
            QDir(m_root.path("/missing"_s)).removeRecursively();
        }
        sink.write(JovLogger::Error, "two"_s);
        const QByteArray content = m_root.read("/stderr"_s);
        QCOMPARE(content.count(" error cannot write the log file"), place.isEmpty() ? 0 : mendable ? 2 : 1);
        QVERIFY(content.contains(" error one\n") && content.endsWith(" error two\n"));
    }

    void fileIsTorn()
    {
        std::signal(SIGXFSZ, SIG_IGN);
        const StandardError standardError(open("/dev/null", O_WRONLY));
        LogSink sink(m_root.path("/torn"_s));
        sink.write(JovLogger::Info, "one"_s);
        const auto full = rlim_t(m_root.read("/torn"_s).size() + 5);
        rlimit limit{};
        getrlimit(RLIMIT_FSIZE, &limit);
        const rlimit disk{full, limit.rlim_max};
        setrlimit(RLIMIT_FSIZE, &disk);
        sink.write(JovLogger::Info, "two"_s);
        sink.write(JovLogger::Info, "three"_s);
        setrlimit(RLIMIT_FSIZE, &limit);
        sink.write(JovLogger::Info, "four"_s);
        const QByteArrayList lines = m_root.read("/torn"_s).split('\n');
        QCOMPARE(lines.size(), 4);
        QCOMPARE(lines.at(1).size(), 5);
        QVERIFY2(lines.at(2).size() == 33 && lines.at(2).endsWith(" info four"), lines.at(2));
    }

    void sinkIsFull_data()
    {
        columns<int, QString>("taken", "record");
        const QString line = "\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\\.\\d{3} (warning|error) "_s;
        row("pipe", 0, line);
        row("pipe that takes a part of a line", 4096, line);
        row("stream", 0, line);
        row("syslog", 0, "<2[78]>[A-Z][a-z][a-z] [ 1-3]\\d \\d\\d:\\d\\d:\\d\\d test-platform-logger: "_s);
    }

    void sinkIsFull()
    {
        const auto [taken, record] = cells<int, QString>();
        const QByteArray kind = QTest::currentDataTag();
        int ends[2] = {-1, -1}; // for reading, for writing
        if (kind == "syslog") {
            m_root.write("/dev/null"_s, QByteArray());
            ends[0] = fullSyslog(m_root.path("/dev/log"_s).toLocal8Bit());
            ends[1] = open("/dev/null", O_PATH);
        } else {
            QCOMPARE(kind == "stream" ? socketpair(AF_UNIX, SOCK_STREAM, 0, ends) : pipe(ends), 0);
            fill(ends[1]);
        }
        QByteArray got;
        const auto takeAll = [&] {
            for (QByteArray part; !(part = take(ends[0])).isEmpty();) {
                got += kind == "syslog" ? part + '\n' : part;
            }
        };
        {
            const StandardError standardError(ends[1]);
            LogSink sink{QString()};
            take(ends[0], taken);
            sink.write(JovLogger::Error, QString(8000, u'y'));
            sink.write(JovLogger::Error, "lost"_s);
            takeAll();
            sink.write(JovLogger::Error, "after"_s);
            takeAll();
        }
        close(ends[0]);
        close(ends[1]);
        QStringList lines = QString::fromUtf8(got).split(u'\n', Qt::SkipEmptyParts);
        lines.replaceInStrings(QRegularExpression("\\A"_s + record), {});
        QCOMPARE(lines.mid(lines.size() - 2),
                 QStringList({"2 lines of the log were dropped: the sink did not take them"_s, "after"_s}));
        QCOMPARE(lines.size(), taken == 0 ? 2 : 3);
    }

private:
    RootDir m_root;
};

QTEST_GUILESS_MAIN(LoggerTest)

#include "LoggerTest.moc"
