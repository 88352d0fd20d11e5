#include "qtdbus/BusExchange.h"
#include "qtdbus/BusRecords.h"
#include "support/Terminal.h"

#include <QElapsedTimer>
#include <QTest>
#include <QTimer>

#include <optional>
#include <random>
#include <vector>

namespace {

constexpr char calmTerminal[] =
    "step one 1 parallel\nstep two 2 parallel\nstep five 5 parallel\nstep home 7 home\nstep nine 9\n"
    "A one\nB one <A\nC one <A,B --stop-after=20\nPlatform two\nSettingsManager two\nSlow two @B --ready-after=60\n"
    "D five\nE five <D @Slow --stop-after=5\nJovGate five\nJovWebClient home --presentation-after=5\n"
    "F nine @A\nG nine <F @D,Platform";

QStringList words(const char *text)
{
    return QString::fromLatin1(text).split(u' ', Qt::SkipEmptyParts);
}

/// How a module may misbehave after the next rebuild; the empty one is no misbehaviour.
const QStringList manners =
    "| | |--never-ready|--exit-after=30|--exit-after=5 --exit-code=127|--crash-after=40 --crash-signal=SEGV|"
    "--crash-after=300 --crash-signal=ABRT|--ignore-stop|--crash-on-stop|--stop-after=400|--exit-on-ready|"
    "--ready-after=150|--stop-exit-code=3|--chatter|--child|--child --ignore-stop"_s.split(u'|');

const QList<int> moduleSignals = {SIGKILL, SIGSEGV, SIGTERM, SIGSTOP, SIGSTOP, SIGCONT, SIGCONT};

/// Nothing may take longer than this: two seconds of CPU measuring, killed modules, log archives on a busy machine.
constexpr int longestSilence = 15000;

} // namespace

/**
 * Everything at once, at random moments: calls, floods, events, signals, a mute bus, and modules that die, hang and
 * misbehave. The daemon must neither crash nor leak nor hang, start no module twice at once and leave no
 * process behind; when the storm is over one restart, which also ends the state after a crash, brings every module up.
 * The same seed is the same sequence of orders; the moments are the machine's. JOV_STORM="SEED SECONDS" sets both.
 */
class StormTest : public QObject
{
    Q_OBJECT

public:
    // Qt Test would end a longer storm.
    StormTest() { qputenv("QTEST_FUNCTION_TIMEOUT", QByteArray::number((m_seconds + 300) * 1000)); }

private Q_SLOTS:
    void storm()
    {
        m_terminal.setDaemon(QStringLiteral(QUICK_DAEMON));
        m_terminal.standIn("/sbin/reboot"_s);
        m_terminal.standIn("/usr/bin/jpg2fb"_s);
        bool calm = true;
        connect(&m_terminal, &Terminal::event, this, [&](const QString &name) {
            if (name == "checkMandatorySettings"_s && (calm || upTo(3) > 0)) {
                m_terminal.notify("checkMandatorySettingsSuccess"_s, {{"reboot"_s, false}});
            }
        });
        QVERIFY(m_terminal.boot());
        m_names = m_terminal.modules().keys();
        const int descriptors = Processes::descriptors(m_terminal.pid()).size();

        calm = false;
        m_answered.start();
        for (QElapsedTimer elapsed = m_answered; elapsed.elapsed() < m_seconds * 1000LL;) {
            for (int burst = upTo(3); burst >= 0; --burst) {
                order();
            }
            // Sometimes a breath that lets a start get through.
            QTest::qWait(upTo(9) == 0 ? upTo(300) : upTo(6));
            watch();
            if (QTest::currentTestFailed()) {
                return;
            }
            m_terminal.forgetEvents();
        }
        calm = true;
        const QMap<QString, QList<pid_t>> modules = m_terminal.modules();
        for (const QList<pid_t> &pids : modules) {
            kill(pids.first(), SIGCONT);
        }
        for (const QString &name : qAsConst(m_names)) {
            m_terminal.addArguments(name, {});
        }
        // An end that was asked for last may still be under way.
        Terminal::wait([this] { return !m_endAsked || !m_terminal.isUp(); }, longestSilence);
        for (QDBusPendingCall &call : m_calls) {
            QVERIFY2(Terminal::wait([&] { return call.isFinished(); }, 30000), "a call was never answered");
        }
        watch();
        QCOMPARE(m_terminal.call("restart"_s), QString());
        QVERIFY(m_terminal.waitForAll("RUNNING"_s));
        QCOMPARE(m_terminal.modules().keys(), m_names);
        // Nor are there dead ones that nobody has reaped; a process that writes the history ends by itself.
        QVERIFY(Terminal::wait([&] {
            return Processes::children(m_terminal.pid()).size() == m_names.size()
                && Processes::descriptors(m_terminal.pid()).size() <= descriptors;
        }));
        endDaemon();
        QCOMPARE(m_terminal.end(0), 0);
    }

private:
    int upTo(int last) { return int(m_random() % unsigned(last + 1)); }
    template <typename List>
    auto any(const List &list)
    {
        return list[upTo(int(std::size(list)) - 1)];
    }
    QString anyName() { return upTo(19) == 0 ? "nobody \u2603'"_s : any(m_names); }

    void order()
    {
        const std::vector<std::pair<int, std::function<void()>>> orders{
            {300, [&] { call(); }},
            {80, [&] { ask("restart"_s); }},
            {20, [&] { burstFrom("vanishing"_s, any(words("restart stopAll startAll")), {}, 1); }},
            {200, [&] { m_terminal.notify(any(words("end_of_init_ stop_module_")) + anyName()); }},
            {100, [&] { spoof(); }},
            {200, [&] { signalModule(any(moduleSignals)); }},
            {80, [&] { m_terminal.addArguments(any(m_names), any(manners).split(u' ', Qt::SkipEmptyParts)); }},
            {20,
             [&] { burstFrom("flooding"_s, any(words("startModule getModulesListInString")), {any(m_names)}, 3000); }},
            {10,
             [&] {
                 const QString mute = "kill -STOP %1; sleep 0.%2; kill -CONT %1"_s;
                 QProcess::startDetached(
                     "sh"_s, {"-c"_s, mute.arg(m_terminal.bus.processId()).arg(upTo(600), 3, 10, QChar(u'0'))});
             }},
            {1, [&] { endDaemon(); }}};
        int number = upTo(1010);
        for (const auto &[weight, give] : orders) {
            if ((number -= weight) < 0) {
                return give();
            }
        }
    }

    /// "?" is a module, or a name that nobody has. Measuring the processor takes two seconds, of nobody none.
    void call()
    {
        static const QStringList calls =
            "startModule ?|stopModule ?|restartModule ?|startModule ?|stopModule ?|restartModule ?|restartModule ?,?,?|"
            "getMemoryUsage ?|getCpuUsage|getCpuUsage|getCpuUsage|getCpuUsage ?|getModulesList|getModulesListInString|"
            "getApplicationsForSettingsDeployment|enoughMemory|getFreeMemory|startAll|stopAll|restartApp|"
            "restartPresentation|setAdminPasswd exit 3"_s.split(u'|');
        const QString words = any(calls);
        QStringList arguments = words.section(u' ', 1).split(u',', Qt::SkipEmptyParts);
        for (QString &argument : arguments) {
            argument.replace(u'?', anyName());
        }
        const QVariant list = arguments.size() > 1 ? QVariant(arguments) : QVariant(arguments.value(0));
        ask(words.section(u' ', 0, 0), arguments.isEmpty() ? QVariantList() : QVariantList{list});
    }

    /// Nobody waits for the replies, and the connection is gone before they come.
    void burstFrom(const QString &name, const QString &method, const QVariantList &arguments, int count)
    {
        const QDBusConnection connection = QDBusConnection::connectToBus(m_terminal.bus.address(), name);
        for (int i = 0; i < count; ++i) {
            connection.send(Terminal::message(method, arguments));
        }
        exchangeWithBus(connection);
        QDBusConnection::disconnectFromBus(name);
    }

    void spoof()
    {
        const QVariant steps[] = {1, 3, 5, 6, 8, 0, -1, 2147483647, "7"_s, "x"_s};
        const QString name = any(words("init_step init_step init_step checkMandatorySettingsSuccess presentationReady "
                                       "PLTF_LOCK_REBOOT PLTF_UNLOCK_REBOOT end_of_init init_message"));
        m_terminal.notify(name, {{"stepNum"_s, any(steps)}, {"reboot"_s, upTo(5) == 0}});
    }

    void signalModule(int signal)
    {
        const QString name = any(m_names);
        const pid_t pid = m_terminal.modules().value(name).value(0);
        // A question to a stopped SettingsManager would hold the daemon for as long as D-Bus lets it.
        if (pid > 0 && (signal != SIGSTOP || name != "SettingsManager"_s)) {
            kill(pid, signal);
        }
    }

    void endDaemon()
    {
        m_endAsked = true;
        upTo(1) == 0 ? ask("stopManager"_s) : void(kill(m_terminal.pid(), SIGTERM));
    }

    void ask(const QString &method, const QVariantList &arguments = {})
    {
        m_calls.push_back(m_terminal.sendAsync(method, arguments));
    }

    /// After each order: nothing runs twice, the daemon answers, and when it has ended there is a reason.
    void watch()
    {
        const QMap<QString, QList<pid_t>> modules = m_terminal.modules();
        for (auto module = modules.cbegin(); module != modules.cend(); ++module) {
            QVERIFY2(module->size() == 1, qPrintable(module.key() + " runs twice"_s));
        }
        if (!m_terminal.isUp()) {
            // It also gives up by itself when the web client never shows its presentation.
            const bool gaveUp = m_terminal.logCount("Webapp timeout"_s) > 0;
            QCOMPARE(m_terminal.end(0), 0);
            QVERIFY2(m_endAsked || gaveUp, "ended for no reason");
            QCOMPARE(m_terminal.leftBehind(), QStringList());
            m_endAsked = false;
            m_terminal.start();
            QVERIFY(Terminal::wait([this] { return !m_terminal.states().isEmpty(); }));
            m_answered.restart();
        } else if (!m_question || m_question->isFinished()) {
            m_answered.restart();
            m_question.emplace(m_terminal.sendAsync("getStepInfra"_s));
        }
        QVERIFY2(m_answered.elapsed() < longestSilence, "no answer any more");
    }

    const QStringList m_settings = qEnvironmentVariable("JOV_STORM", "1 20"_s).split(u' ');
    const int m_seconds = m_settings.value(1).toInt();
    std::mt19937 m_random{m_settings.value(0).toUInt()};
    Terminal m_terminal{calmTerminal};
    std::vector<QDBusPendingCall> m_calls;
    std::optional<QDBusPendingCall> m_question;
    QStringList m_names;
    QElapsedTimer m_answered; ///< since the daemon last answered
    bool m_endAsked = false;
};

QTEST_GUILESS_MAIN(StormTest)

#include "StormTest.moc"
