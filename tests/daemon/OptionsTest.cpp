#include "Options.h"

#include "LeftBehind.h"

#include <QTest>

#include <vector>

class OptionsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void parse_data();
    void parse();
};

void OptionsTest::parse_data()
{
    QTest::addColumn<QList<QByteArray>>("arguments");
    QTest::addColumn<QByteArray>("result"); ///< "PATH", then a word for each mode

    const auto row = [](const char *name, const char *arguments, const char *result) {
        QTest::newRow(name) << QByteArray(arguments).split(' ') << QByteArray(result);
    };
    row("none", "am", " daemon");
    row("all", "am --pidFile=/run/a --debug --nodaemon", "/run/a debug");
    row("last path", "am --pidFile=/run/a --pidFile=b", "b daemon");
    row("emptied path", "am --pidFile=/run/a --pidFile=", " daemon");
    row("how it begins", "am --debugger --nodaemonplease", " debug");
    row("not how it begins", "am -debug x--nodaemon --pidfile=a --pidFile", " daemon");
    row("the program's name", "--debug", " debug daemon");
    row("help", "am --help", " daemon help");
}

void OptionsTest::parse()
{
    using Words = QList<QByteArray>;
    QFETCH(Words, arguments);
    QFETCH(QByteArray, result);
    std::vector<char *> argv;
    for (QByteArray &argument : arguments) {
        argv.push_back(argument.data());
    }
    const Options options = Options::parse(int(argv.size()), argv.data());
    QCOMPARE(QByteArray(options.pidFile.c_str()) + (options.debugMode ? " debug" : "")
                 + (options.daemonMode ? " daemon" : "") + (options.help ? " help" : ""),
             result);
}

int main(int argc, char **argv)
{
    OptionsTest test;
    return runTest(test, argc, argv);
}

#include "OptionsTest.moc"
