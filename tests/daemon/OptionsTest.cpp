#include "daemon/Options.h"

#include "daemon/PidFile.h"
#include "support/DataTable.h"
#include "support/RootDir.h"

#include <jov/JovProcess.h>

#include <vector>

#include <sys/stat.h>
#include <unistd.h>

class OptionsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void parse_data()
    {
        columns<QString, QString>("arguments", "result"); // "PATH", then a word for each mode, and the modules' streams
        row("none", "am", " daemon");
        row("all", "am --pidFile=/run/a --debug --nodaemon", "/run/a debug own");
        row("foreground", "am --nodaemon", " by default");
        row("last path", "am --pidFile=/run/a --pidFile=b", "b daemon");
        row("emptied path", "am --pidFile=/run/a --pidFile=", " daemon");
        row("how it begins", "am --debugger --nodaemonplease", " debug own");
        row("not how it begins", "am -debug x--nodaemon --pidfile=a --pidFile", " daemon");
        row("the program's name", "--debug", " debug daemon own");
        row("help", "am --help", " daemon help");
        row("version", "am --version --versions", " daemon version");
    }

    void parse()
    {
        QFETCH(QString, arguments);
        QList<QByteArray> words = arguments.toLatin1().split(' ');
        std::vector<char *> argv;
        for (QByteArray &argument : words) {
            argv.push_back(argument.data());
        }
        const char *const streams[] = {"", " by default", " own"};
        const Options options = Options::parse(int(argv.size()), argv.data());
        QTEST(QString::fromStdString(options.pidFile + (options.debugMode ? " debug" : "")
                                     + (options.daemonMode ? " daemon" : "") + (options.help ? " help" : "")
                                     + (options.version ? " version" : "") + streams[int(options.ownStreams())]),
              "result");
    }

    void pidFile_data()
    {
        columns<QString>("command"); // what makes that which is there before
        row("nothing", "true");
        row("file", "echo a longer text than a number >$JOV_ROOT/pid");
        row("FIFO", "mkfifo $JOV_ROOT/pid");
        row("dangling link", "ln -s nowhere $JOV_ROOT/pid");
    }

    void pidFile()
    {
        QFETCH(QString, command);
        const RootDir root;
        QCOMPARE(qor_system(command.toUtf8()), 0);
        const QByteArray path = QFile::encodeName(root.path("/pid"_s));
        PidFile file;
        QVERIFY(file.write(path.toStdString()));
        struct stat status = {};
        QCOMPARE(lstat(path.constData(), &status), 0);
        QCOMPARE(status.st_mode, mode_t(S_IFREG | 0644));
        QCOMPARE(root.read("/pid"_s), QByteArray::number(getpid()) + '\n');
    }
};

QTEST_GUILESS_MAIN(OptionsTest)

#include "OptionsTest.moc"
