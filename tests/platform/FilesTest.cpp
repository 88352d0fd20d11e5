#include "bus/BusTypes.h"
#include "support/DataTable.h"
#include "support/RootDir.h"

#include <jov/ApplicationConfig.h>
#include <jov/JovProcess.h>
#include <jov/JovRoot.h>
#include <jov/Setting.h>
#include <jov/SettingsParam.h>

#include <csignal>

#include <sys/wait.h>

/// What the platform makes of the root prefix, of platform.ini, and of shell commands.
class FilesTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void shellWords_data()
    {
        columns<QString>("text");
        for (const char *text :
             {"/plain/path-1.0", "", "a b", "it's", "$(reboot)", "a\nb", "*", "~", "A=b", "caf\xc3\xa9"}) {
            row(text, QString::fromUtf8(text));
        }
    }

    void shellWords()
    {
        QFETCH(QString, text);
        const QString out = m_root.path("/words"_s);
        const QString command = "printf %s/ %1 > %2"_s.arg(JovRoot::shellQuoted(text), out);
        QCOMPARE(qor_system(command.toUtf8()), 0);
        QCOMPARE(QString::fromUtf8(m_root.read("/words"_s)), text + u'/');
    }

    void prefixes_data()
    {
        columns<QByteArray, QString, QString>("prefix", "path", "word");
        row("unset", QByteArray(), "/log/*", "/log/*");
        row("plain", QByteArray("/tmp/r"), "/tmp/r/log/*", "/tmp/r/log/*");
        row("slashes", QByteArray("/tmp/r//"), "/tmp/r/log/*", "/tmp/r/log/*");
        row("the root itself", QByteArray("/"), "/log/*", "/log/*");
        row("blank", QByteArray("/tmp/a b"), "/tmp/a b/log/*", "'/tmp/a b'/log/*");
        const QString here = QDir::currentPath() + "/r/log/*"_s;
        row("relative", QByteArray("r"), here, here);
    }

    void prefixes()
    {
        QFETCH(QByteArray, prefix);
        const QByteArray saved = qgetenv("JOV_ROOT");
        qputenv("JOV_ROOT", prefix);
        const QString path = JovRoot::rooted("/log/*"_s);
        const QString word = JovRoot::shellRooted("/log/*"_s);
        qputenv("JOV_ROOT", saved);
        QTEST(path, "path");
        QTEST(word, "word");
    }

    void parameters_data()
    {
        columns<QByteArray, QString, QString>("ini", "section", "expected");
        row("comment", QByteArray("[platform] ; text\n; a=1\nb=2 ; text\n"), "platform", "b=2");
        row("commas", QByteArray("[m]\nlist=1,2,3\nquoted=\"a, b\"\n"), "m", "list=1,2,3 quoted=a, b");
        row("without a value", QByteArray("[m]\nrubbish\nx=\n"), "m", "x=");
        row("UTF-8", QByteArray("[m]\nx=caf\xc3\xa9\n"), "m", "x=caf\u00e9"_s);
        row("percent", QByteArray("[a%20b]\nk%20=100%\n"), "a b", "k =100%");
        row("blank", QByteArray("[a b]\nk=1\n"), "a b", "k=1");
        row("general", QByteArray("[General]\nk=1\n[m]\nx=2\n"), "General", "k=1");
        row("no section", QByteArray("[m]\nx=1\n"), "", "");
        row("prefix of another", QByteArray("[Gate2]\nx=1\n"), "Gate", "");
    }

    void parameters()
    {
        const auto [ini, section] = cells<QByteArray, QString>();
        m_root.write("/etc/JovApplication/platform.ini"_s, ini);
        QStringList words;
        const QMap<QString, QString> values = settings_get_section(section);
        for (auto value = values.cbegin(); value != values.cend(); ++value) {
            words << value.key() + u'=' + value.value();
        }
        QTEST(words.join(u' '), "expected");
        QString value = "untouched"_s;
        QCOMPARE(settings_get_param("missing"_s, value), -1);
        QCOMPARE(value, "untouched"_s);
    }

    void commandHasDefaultSignals()
    {
        sigset_t term;
        sigset_t saved;
        sigemptyset(&term);
        sigaddset(&term, SIGTERM);
        sigprocmask(SIG_BLOCK, &term, &saved);
        const auto handler = std::signal(SIGTERM, SIG_IGN);
        const int status = qor_system("kill -TERM $$; exit 3");
        std::signal(SIGTERM, handler);
        sigprocmask(SIG_SETMASK, &saved, nullptr);
        QVERIFY(WIFSIGNALED(status) && WTERMSIG(status) == SIGTERM);
    }

    void commandsOfTheRoot()
    {
        m_root.writeScript("/usr/bin/jpg2fb"_s, "exit 5");
        QCOMPARE(WEXITSTATUS(qor_system("jpg2fb -a")), 5);
        QCOMPARE(qor_system("[ -n \"$JOV_ROOT\" ]"), 0);
        QCOMPARE(WEXITSTATUS(qor_system("no_such_command 2>/dev/null")), 127);
    }

    void textsOfEnds()
    {
        QStringList texts;
        for (const int code : {0, 3, 127, SIGILL, SIGABRT, SIGBUS, SIGFPE, SIGKILL, SIGSEGV, SIGTERM}) {
            texts << getExitCodeInString(code);
        }
        QCOMPARE(texts.join(u' '),
                 "EXITED_OK EXITED_3 BAD_LIBRARIES SIGILL SIGABRT SIGBUS SIGFPE SIGKILL SIGSEGV SIGTERM"_s);
    }

    // Each field at its position, on the way out and on the way in.
    void records()
    {
        registerDBusSetting();
        registerDBusApplicationConfig();
        QVariantList setting{"id"_s, "value"_s, "default"_s, "label"_s, "text"_s, "owner"_s, "unit"_s, 1, 2, 3};
        setting << QVariant(QVariantList{QVariant(QVariantList{"v"_s, "l"_s})}) << true << false << "x"_s;
        const QVariantList application{"7"_s, 0, "name"_s, "status"_s, "state"_s, "text"_s, "1.0"_s, "label"_s, true};
        for (const auto &[type, fields] :
             {std::pair(qMetaTypeId<Setting>(), setting), std::pair(qMetaTypeId<ApplicationConfig>(), application)}) {
            const BusTypes::Record *record = BusTypes::record(type);
            QCOMPARE(record->toPlain(record->fromPlain(fields)).toList(), fields);
        }
    }

private:
    RootDir m_root;
};

QTEST_GUILESS_MAIN(FilesTest)

#include "FilesTest.moc"
