#include "qtdbus/BusExchange.h"
#include "support/Terminal.h"

#include <QDeadlineTimer>
#include <QRandomGenerator>

/**
 * Everything at once, at random moments: calls, floods, events, signals, a mute bus, and modules that die, hang and
 * misbehave. The daemon must neither crash nor leak nor hang, start no module twice at once and leave no
 * process behind; when the storm is over one restart, which also ends the state after a crash, brings every module up.
 * The same seed is the same sequence of orders; the moments are the machine's. JOV_STORM="SEED SECONDS" sets both.
 */
class StormTest : public QObject
{
    Q_OBJECT

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
        const QDeadlineTimer over(m_settings.value(1).toInt() * 1000LL);
        while (!over.hasExpired() && !QTest::currentTestFailed()) {
            for (int burst = upTo(3); burst >= 0; --burst) {
                order();
            }
            // Sometimes a breath that lets a start get through.
            QTest::qWait(upTo(9) == 0 ? upTo(300) : upTo(6));
            watch();
            m_terminal.forgetEvents();
        }
        calm = true;
        for (const QString &name : qAsConst(m_names)) {
            kill(m_terminal.modules().value(name, {m_terminal.pid()}).first(), SIGCONT);
            m_terminal.addArguments(name, {});
        }
        // An end that was asked for last may still be under way.
        Terminal::wait([this] { return !m_endAsked || !m_terminal.isUp(); }, longestSilence);
        const auto answered = [](const QDBusPendingCall &call) { return call.isFinished(); };
        QVERIFY(Terminal::wait([&] { return std::all_of(m_calls.cbegin(), m_calls.cend(), answered); }, 30000));
        QVERIFY(Terminal::wait([this] { return watch(), m_terminal.call("restart"_s).isEmpty(); }));
        QVERIFY(m_terminal.waitForAll("RUNNING"_s));
        QCOMPARE(m_terminal.modules().keys(), m_names);
        // Nor are there dead ones that nobody has reaped; a process that writes the history ends by itself.
        QTRY_COMPARE_WITH_TIMEOUT(Processes::children(m_terminal.pid()).size(), m_names.size(), 60000);
        QTRY_VERIFY(Processes::descriptors(m_terminal.pid()).size() <= descriptors);
        QCOMPARE(m_terminal.end(SIGTERM), 0);
    }

private:
    int upTo(int last) { return m_random.bounded(last + 1); }
    QString oneOf(const QStringList &words) { return words[upTo(words.size() - 1)]; }

    void order()
    {
        // Of a thousand, how many are of this kind, and what is chosen from: "?" is a module, or a name that nobody
        // has, "*" several. Measuring the processor takes two seconds, of nobody none.
        static const QStringList kinds =
            "300 call startModule ?|stopModule ?|restartModule ?|startModule ?|stopModule ?|restartModule ?|"
            "restartModule *|getMemoryUsage ?|getCpuUsage|getCpuUsage|getCpuUsage|getCpuUsage ?|getModulesList|"
            "getModulesListInString|getApplicationsForSettingsDeployment|enoughMemory|getFreeMemory|startAll|stopAll|"
            "restartApp|restartPresentation|setAdminPasswd exit 3\n"
            "80 call restart\n"
            "20 1 restart|stopAll|startAll\n"
            "20 3000 startModule ?|getModulesListInString\n"
            "200 event end_of_init_?|stop_module_?\n"
            "100 event init_step|init_step|init_step|checkMandatorySettingsSuccess|presentationReady|"
            "PLTF_LOCK_REBOOT|PLTF_UNLOCK_REBOOT|end_of_init|init_message\n"
            "200 signal 9|11|15|18|18|19|19\n"
            "80 manner | | |--never-ready|--exit-after=30|--exit-after=5 --exit-code=127|--ignore-stop|"
            "--crash-after=40 --crash-signal=SEGV|--crash-after=300 --crash-signal=ABRT|--crash-on-stop|"
            "--stop-after=400|--exit-on-ready|--ready-after=150|--stop-exit-code=3|--chatter|--child|"
            "--child --ignore-stop\n"
            "10 mute\n1 end"_s.split(u'\n');
        int number = upTo(1010);
        const QString line = *std::find_if(kinds.cbegin(), kinds.cend(), [&](const QString &kind) {
            return (number -= kind.section(u' ', 0, 0).toInt()) < 0;
        });
        const QString kind = line.section(u' ', 1, 1);
        const QString name = oneOf(m_names);
        const QString order = oneOf(line.section(u' ', 2).split(u'|'))
                                  .replace(u'?', upTo(19) == 0 ? "nobody \u2603'"_s : name)
                                  .replace(u'*', m_names.mid(upTo(8)).join(u','));
        const QStringList list = order.section(u' ', 1).split(u',', Qt::SkipEmptyParts);
        const QVariantList argument{list.size() > 1 ? QVariant(list) : QVariant(list.value(0))};
        const QDBusMessage call = Terminal::message(order.section(u' ', 0, 0), argument.mid(list.isEmpty() ? 1 : 0));
        if (kind == "call"_s) {
            m_calls.push_back(m_terminal.connection().asyncCall(call));
        } else if (kind == "event"_s) {
            const QVariant steps[] = {1, 3, 5, 6, 8, 0, -1, 2147483647, "7"_s, "x"_s};
            m_terminal.notify(order, {{"stepNum"_s, steps[upTo(9)]}, {"reboot"_s, upTo(5) == 0}});
        } else if (kind == "signal"_s) {
            // A question to a stopped SettingsManager would hold the daemon for as long as D-Bus lets it.
            const pid_t pid = m_terminal.modules().value(name).value(0);
            if (pid > 0 && (order.toInt() != SIGSTOP || name != "SettingsManager"_s)) {
                kill(pid, order.toInt());
            }
        } else if (kind == "manner"_s) {
            m_terminal.addArguments(name, order.split(u' ', Qt::SkipEmptyParts)); // from its next rebuild on
        } else if (kind == "mute"_s) {
            const QString mute = "kill -STOP %1; sleep 0.%2; kill -CONT %1"_s.arg(m_terminal.bus.processId());
            QProcess::startDetached("sh"_s, {"-c"_s, mute.arg(100 + upTo(500))});
        } else if (kind == "end"_s) {
            m_endAsked = true;
            upTo(1) == 0 ? m_calls.push_back(m_terminal.sendAsync("stopManager"_s))
                         : void(kill(m_terminal.pid(), SIGTERM));
        } else {
            // Nobody waits for the replies, and the connection is gone before they come.
            const QDBusConnection connection = QDBusConnection::connectToBus(m_terminal.bus.address(), "gone"_s);
            for (int count = kind.toInt(); count > 0; --count) {
                connection.send(call);
            }
            exchangeWithBus(connection);
            QDBusConnection::disconnectFromBus("gone"_s);
        }
    }

    /// After each order: nothing runs twice, the daemon answers, and when it has ended there is a reason.
    void watch()
    {
        const QMap<QString, QList<pid_t>> modules = m_terminal.modules();
        for (const QList<pid_t> &pids : modules) {
            QVERIFY2(pids.size() == 1, qPrintable(modules.key(pids) + " runs twice"_s));
        }
        if (!m_terminal.isUp()) {
            QCOMPARE(m_terminal.end(0), 0);
            // It also gives up by itself when the web client never shows its presentation.
            QVERIFY2(m_endAsked || m_terminal.logCount("Webapp timeout"_s) > 0, "ended for no reason");
            QCOMPARE(m_terminal.leftBehind(), QStringList());
            m_endAsked = false;
            m_terminal.start();
            QVERIFY(Terminal::wait([this] { return !m_terminal.states().isEmpty(); }));
            m_patience.setRemainingTime(longestSilence);
        } else if (m_question.isFinished()) {
            m_patience.setRemainingTime(longestSilence);
            m_question = m_terminal.sendAsync("getStepInfra"_s);
        }
        QVERIFY2(!m_patience.hasExpired(), "no answer any more");
    }

    static constexpr int longestSilence = 15000; ///< two seconds of CPU measuring, kills, archives on a busy machine
    const QStringList m_settings = qEnvironmentVariable("JOV_STORM", "1 20"_s).split(u' ');
    QRandomGenerator m_random{m_settings.value(0).toUInt()};
    Terminal m_terminal{
        "step one 1 parallel\nstep two 2 parallel\nstep five 5 parallel\nstep home 7 home\nstep nine 9\n"
        "A one\nB one <A\nC one <A,B --stop-after=20\nPlatform two\nSettingsManager two\n"
        "Slow two @B --ready-after=60\nD five\nE five <D @Slow --stop-after=5\nJovGate five\n"
        "JovWebClient home --presentation-after=5\nF nine @A\nG nine <F @D,Platform"};
    QStringList m_names;
    QList<QDBusPendingCall> m_calls;
    QDBusPendingCall m_question = QDBusPendingCall::fromCompletedCall({});
    QDeadlineTimer m_patience{longestSilence}; ///< for the daemon's next answer
    bool m_endAsked = false;
};

QTEST_GUILESS_MAIN(StormTest)

#include "StormTest.moc"
