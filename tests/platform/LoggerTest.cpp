#include "logger/PlatformLogger.h"
#include "support/DataTable.h"
#include "support/RootDir.h"

#include <jov/Log.h>

#include <QDir>
#include <QFile>
#include <QRegularExpression>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

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
        QFETCH(QByteArray, ini);
        QFETCH(QString, file);
        m_root.write("/etc/JovApplication/platform.ini"_s, ini);
        const LogOptions options = LogOptions::read();
        QTEST(options.level, "level");
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
    }

    void lines()
    {
        QFETCH(QString, text);
        QFETCH(QByteArray, written);
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
        const int saved = dup(STDERR_FILENO);
        const int file = open(qPrintable(m_root.path("/stderr"_s)), O_WRONLY | O_APPEND);
        dup2(file, STDERR_FILENO);
        LogSink sink(place.isEmpty() ? QString() : m_root.path(place));
        sink.write(JovLogger::Error, "one"_s);
        const bool mendable = place.startsWith("/missing"_s);
        if (mendable) {
            m_root.write(place, QByteArray());
            sink.write(JovLogger::Error, "into the file"_s);
            QDir(m_root.path("/missing"_s)).removeRecursively();
        }
        sink.write(JovLogger::Error, "two"_s);
        dup2(saved, STDERR_FILENO);
        close(saved);
        close(file);
        const QByteArray content = m_root.read("/stderr"_s);
        QCOMPARE(content.count(" error cannot write the log file"), place.isEmpty() ? 0 : mendable ? 2 : 1);
        QVERIFY(content.contains(" error one\n") && content.endsWith(" error two\n"));
    }

private:
    RootDir m_root;
};

QTEST_GUILESS_MAIN(LoggerTest)

#include "LoggerTest.moc"
