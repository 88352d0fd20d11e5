#include "daemon/Options.h"

#include "support/DataTable.h"

#include <vector>

class OptionsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void parse_data()
    {
        columns<QString, QString>("arguments", "result"); // "PATH", then a word for each mode
        row("none", "am", " daemon");
        row("all", "am --pidFile=/run/a --debug --nodaemon", "/run/a debug");
        row("last path", "am --pidFile=/run/a --pidFile=b", "b daemon");
        row("emptied path", "am --pidFile=/run/a --pidFile=", " daemon");
        row("how it begins", "am --debugger --nodaemonplease", " debug");
        row("not how it begins", "am -debug x--nodaemon --pidfile=a --pidFile", " daemon");
        row("the program's name", "--debug", " debug daemon");
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
        const Options options = Options::parse(int(argv.size()), argv.data());
        QTEST(QString::fromStdString(options.pidFile + (options.debugMode ? " debug" : "")
                                     + (options.daemonMode ? " daemon" : "") + (options.help ? " help" : "")
                                     + (options.version ? " version" : "")),
              "result");
    }
};

QTEST_GUILESS_MAIN(OptionsTest)

#include "OptionsTest.moc"
