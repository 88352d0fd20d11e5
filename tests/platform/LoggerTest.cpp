#include "DataTable.h"
#include "Log.h"
#include "PlatformLogger.h"
#include "RootDir.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTest>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// Points descriptor 2 somewhere else while it lives.
class StandardError
{
public:
    explicit StandardError(int replacement)
        : m_saved(dup(STDERR_FILENO))
    {
        dup2(replacement, STDERR_FILENO);
        close(replacement);
    }
    ~StandardError()
    {
        dup2(m_saved, STDERR_FILENO);
        close(m_saved);
    }

private:
    int m_saved;
};

int openFile(const QString &path, int flags)
{
    return open(qPrintable(path), flags | O_CLOEXEC, 0600);
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
        QFETCH(QByteArray, ini);
        QFETCH(QString, file);
        m_root.write(QStringLiteral("/etc/JovApplication/platform.ini"), ini);
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
        row("Unicode", QStringLiteral("caf\u00e9 \u6d4b"), QByteArray("caf\xc3\xa9 \xe6\xb5\x8b"));
        row("format", "100%s %1 %n", QByteArray("100%s %1 %n"));
        row("empty", "", QByteArray());
    }

    void lines()
    {
        QFETCH(QString, text);
        QFETCH(QByteArray, written);
        const QString path = QStringLiteral("/lines");
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
        const QRegularExpression stamp(QStringLiteral("\\A\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\\.\\d{3} "));
        for (QByteArray &line : got) {
            QVERIFY2(stamp.match(QString::fromUtf8(line)).hasMatch(), line);
            line = line.mid(23);
        }
        QCOMPARE(got, expected);
    }

    void belowTheLevelNothingIsBuilt()
    {
        QCOMPARE(Log::Detail::format("%1 %2 %3", QStringLiteral("%2"), true, 1.5), QStringLiteral("%2 true 1.5"));
        QCOMPARE(Log::Detail::format("a %1", QStringLiteral("%1%2")), QStringLiteral("a %1%2"));
        bool built = false;
        logger().setLevel(JovLogger::Info);
        Log::debug("%1", [&] {
            built = true;
            return QString();
        });
        QVERIFY(!built);
    }

    void fileIsRotated_data()
    {
        columns<bool>("renamed");
        row("renamed", true);
        row("removed", false);
    }

    void fileIsRotated()
    {
        QFETCH(bool, renamed);
        const QString path = m_root.path(QStringLiteral("/rotated"));
        QFile::remove(path);
        QFile::remove(path + QStringLiteral(".1"));
        LogSink sink(path);
        sink.write(JovLogger::Info, QStringLiteral("before"));
        QVERIFY(renamed ? QFile::rename(path, path + QStringLiteral(".1")) : QFile::remove(path));
        sink.write(JovLogger::Info, QStringLiteral("after"));
        const QByteArray content = m_root.read(QStringLiteral("/rotated"));
        QVERIFY(content.contains(" info after\n") && !content.contains("before"));
    }

    void fileCannotBeUsed_data()
    {
        columns<QString>("place");
        row("no folder", "/missing/log");
        row("a FIFO without a reader", "/fifo");
        row("a full disk", "/full");
        row("standard error was asked for", "");
    }

    void fileCannotBeUsed()
    {
        QFETCH(QString, place);
        mkfifo(qPrintable(m_root.path(QStringLiteral("/fifo"))), 0600);
        QFile::link(QStringLiteral("/dev/full"), m_root.path(QStringLiteral("/full")));
        m_root.write(QStringLiteral("/stderr"), QByteArray());
        {
            const StandardError redirected(openFile(m_root.path(QStringLiteral("/stderr")), O_WRONLY | O_APPEND));
            LogSink sink(place.isEmpty() ? QString() : m_root.path(place));
            sink.write(JovLogger::Error, QStringLiteral("one"));
            sink.write(JovLogger::Error, QStringLiteral("two"));
        }
        const QByteArray content = m_root.read(QStringLiteral("/stderr"));
        QCOMPARE(content.count(" error cannot write the log file"), place.isEmpty() ? 0 : 1);
        QVERIFY(content.contains(" error one\n") && content.endsWith(" error two\n"));
    }

    // The number of a quiet daemon is only reserved: there is nothing to write to, and nothing may fail.
    void reservedDescriptorIsClosed()
    {
        const StandardError reserved(openFile(QStringLiteral("/dev/null"), O_PATH));
        LogSink sink{QString()};
        sink.write(JovLogger::Error, QStringLiteral("to the system log"));
        QVERIFY((fcntl(STDERR_FILENO, F_GETFL) & O_PATH) != 0);
    }

private:
    RootDir m_root;
};

QTEST_GUILESS_MAIN(LoggerTest)

#include "LoggerTest.moc"
