#include "qtdbus/BusExchange.h"
#include "qtdbus/BusRecords.h"
#include "support/Terminal.h"

#include <QCommandLineParser>
#include <QDBusPendingReply>
#include <QElapsedTimer>
#include <QScopeGuard>
#include <QTest>
#include <QTimer>

#include <cstdio>
#include <memory>
#include <random>
#include <thread>
#include <vector>

#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr char calmTerminal[] = R"(step one 1
step two 2
step five 5
step home 7 home
step nine 9
A one
B one <A
C one <A,B --stop-after=20
Platform two
SettingsManager two
Slow two --ready-after=60
D five
E five <D --stop-after=5
JovGate five
JovWebClient home --presentation-after=5
F nine
G nine <F)";

/// How a module may misbehave after the next rebuild; the empty one is no misbehaviour.
const QStringList manners =
    "| | |--never-ready|--exit-after=30|--exit-after=5 --exit-code=127|--crash-after=40 --crash-signal=SEGV|"
    "--crash-after=300 --crash-signal=ABRT|--ignore-stop|--crash-on-stop|--stop-after=400|--exit-on-ready|"
    "--ready-after=150|--stop-exit-code=3|--chatter|--child|--child --ignore-stop"_s.split(u'|');

QStringList words(const char *text)
{
    return QString::fromLatin1(text).split(u' ', Qt::SkipEmptyParts);
}

/// Nothing may take longer than this: two seconds of CPU measuring, a few killed modules, log archives on a busy
/// machine.
constexpr int longestSilence = 15000;

} // namespace

/**
 * Everything at once, at random moments: calls, events, signals, and modules that die, hang and misbehave.
 *
 * The daemon must neither crash nor leak nor hang, start no module twice at once and leave no process behind, and when
 * the storm is over one restart brings every module up. A crash makes the daemon ask for a reboot and refuse starts; a
 * restart is the storm's answer to that. The same seed is the same sequence of orders; the moments are the machine's.
 */
class StormTest : public QObject
{
    Q_OBJECT

public:
    StormTest(unsigned seed, int seconds)
        : m_seed(seed)
        , m_seconds(seconds)
        , m_random(seed)
    { }

private:
    int upTo(int last) { return int(m_random() % unsigned(last + 1)); }
    template <typename List>
    auto any(const List &list)
    {
        return list[upTo(int(std::size(list)) - 1)];
    }

private Q_SLOTS:
    void storm()
    {
        qInfo("storm --seed %u --seconds %d", m_seed, m_seconds);
        m_terminal = std::make_unique<Terminal>(calmTerminal);
        const auto cleared = qScopeGuard([this] { m_terminal.reset(); });
        m_terminal->setDaemon(QStringLiteral(QUICK_DAEMON));
        m_terminal->standIn("/sbin/reboot"_s);
        m_terminal->standIn("/usr/bin/jpg2fb"_s);
        registerQtDBusRecords();
        bool calm = true;
        connect(m_terminal.get(), &Terminal::event, this, [&](const QString &name) {
            if (name == "checkMandatorySettings"_s && (calm || upTo(3) > 0)) {
                m_terminal->notify("checkMandatorySettingsSuccess"_s, {{"reboot"_s, false}});
            }
        });
        m_terminal->start();
        QVERIFY(m_terminal->waitForAll("RUNNING"_s));
        m_names = m_terminal->modules().keys();
        const int descriptors = Processes::descriptors(m_terminal->pid()).size();
        const qint64 threads = Processes::figure(m_terminal->pid(), "status", "Threads");

        const Order orders[] = {&StormTest::call,          &StormTest::restart,       &StormTest::vanish,
                                &StormTest::spoofProgress, &StormTest::spoofControl,  &StormTest::hangUp,
                                &StormTest::signalModule,  &StormTest::changeManners, &StormTest::flood,
                                &StormTest::muteBus,       &StormTest::debug};
        std::discrete_distribution<int> order{30, 8, 2, 20, 10, 1, 20, 8, 2, 1, 2};
        calm = false;
        QElapsedTimer elapsed;
        elapsed.start();
        m_answered.start();
        while (elapsed.elapsed() < m_seconds * 1000LL) {
            for (int burst = upTo(3); burst >= 0; --burst) {
                (this->*(upTo(1500) == 0 ? &StormTest::endDaemon : orders[order(m_random)]))();
            }
            // Sometimes a breath that lets a start get through.
            QTest::qWait(upTo(9) == 0 ? upTo(300) : upTo(6));
            watch();
            if (QTest::currentTestFailed()) {
                return;
            }
            m_terminal->forgetEvents();
        }

        calm = true;
        calmDown();
        if (QTest::currentTestFailed()) {
            return;
        }
        QCOMPARE(m_terminal->call("restart"_s), QString());
        QVERIFY(m_terminal->waitForAll("RUNNING"_s));
        QCOMPARE(m_terminal->modules().keys(), m_names);
        // Nor are there dead ones that nobody has reaped.
        QCOMPARE(Processes::children(m_terminal->pid()).size(), m_names.size());
        QCOMPARE(Processes::descriptors(m_terminal->pid()).size(), descriptors);
        QCOMPARE(Processes::figure(m_terminal->pid(), "status", "Threads"), threads);
        endDaemon();
        QCOMPARE(m_terminal->end(0), 0);
        const auto count = [this](const char *text) { return m_terminal->logCount(QLatin1String(text)); };
        qInfo("%d calls, %d launches, %d crashes, %d kills after a time-out, %d rebuilds, %d ends", int(m_calls.size()),
              count("PID of :"), count("Terminal will reboot now"), count("[timeout]"), count("Clear all lists"),
              m_ends);
    }

private:
    using Order = void (StormTest::*)();

    QString anyName() { return upTo(19) == 0 ? "nobody \u2603'"_s : any(m_names); }

    void call()
    {
        static const QStringList plain =
            words("startAll stopAll restart restartApp getModulesList getApplicationsListInString "
                  "enoughMemory getApplicationsForSettingsDeployment restartPresentation "
                  "getTotalMemory getFreeMemory getModulesListInString");
        static const QStringList named = words("startModule stopModule restartModule getMemoryUsage");
        const int kind = upTo(9);
        if (kind <= 2) {
            ask(any(plain));
        } else if (kind == 3) {
            ask("restartModule"_s, {QStringList{anyName(), anyName(), anyName()}});
        } else if (kind == 4) {
            Setting setting;
            setting.setId(upTo(1) == 0 ? "MonitoringWatchDelay"_s : "MonitoringWatchRetry"_s);
            setting.setValue(QString::number(upTo(3) - 1));
            setting.setDefined(true);
            ask("monitoringSettingsChanged"_s, {QVariant::fromValue(setting)});
        } else if (kind == 5) {
            ask("setAdminPasswd"_s, {"exit 3"_s});
        } else if (kind == 6) {
            // Measuring takes two seconds, of nobody none.
            ask("getCpuUsage"_s, {upTo(9) == 0 ? anyName() : QString()});
        } else {
            ask(any(named), {anyName()});
        }
    }

    void restart() { ask("restart"_s); }

    void vanish()
    {
        const QString name = "vanishing"_s;
        const QDBusConnection connection = QDBusConnection::connectToBus(m_terminal->bus.address(), name);
        exchangeWithBus(connection);
        connection.asyncCall(Terminal::message(any(words("restart stopAll startAll"))));
        QDBusConnection::disconnectFromBus(name);
    }

    void spoofProgress()
    {
        const int kind = upTo(3);
        if (kind == 0) {
            m_terminal->notify("presentationReady"_s);
        } else if (kind == 1) {
            m_terminal->notify("checkMandatorySettingsSuccess"_s, {{"reboot"_s, upTo(5) == 0}});
        } else {
            m_terminal->notify(any(words("end_of_init_ stop_module_")) + anyName());
        }
    }

    void spoofControl()
    {
        const QVariant steps[] = {1, 3, 5, 6, 8, 0, -1, 2147483647, "7"_s, "x"_s};
        if (upTo(1) == 0) {
            m_terminal->notify("init_step"_s, {{"stepNum"_s, any(steps)}});
        } else {
            m_terminal->notify(
                any(words("PLTF_LOCK_REBOOT PLTF_UNLOCK_REBOOT end_of_init init_message checkMandatorySettings")));
        }
    }

    void hangUp()
    {
        m_signalTaken = true;
        kill(m_terminal->pid(), SIGHUP);
    }

    void signalModule()
    {
        const int signals[] = {SIGKILL, SIGSEGV, SIGTERM, SIGSTOP, SIGSTOP, SIGCONT, SIGCONT};
        const QString name = any(m_names);
        const int signal = any(signals);
        if (signal == SIGSTOP && name == "SettingsManager"_s) {
            return; // a question to it would hold the daemon for as long as D-Bus lets it
        }
        const QList<pid_t> pids = m_terminal->modules().value(name);
        if (!pids.isEmpty()) {
            kill(pids.first(), signal);
        }
    }

    void changeManners()
    {
        const QString name = any(m_names);
        m_terminal->addArguments(name, any(manners).split(u' ', Qt::SkipEmptyParts));
    }

    /// Faster than they can be answered, and without waiting for the replies.
    void flood()
    {
        static const QStringList methods = words("getModulesListInString getTotalMemory startModule");
        const QString method = any(methods);
        const QDBusMessage message =
            Terminal::message(method, method == "startModule"_s ? QVariantList{anyName()} : QVariantList());
        const QString name = "flooding"_s;
        const QDBusConnection connection = QDBusConnection::connectToBus(m_terminal->bus.address(), name);
        for (int i = 0; i < 3000; ++i) {
            connection.send(message);
        }
        exchangeWithBus(connection);
        QDBusConnection::disconnectFromBus(name);
    }

    /// Ended in a thread: this one may be waiting for the bus.
    void muteBus()
    {
        const pid_t bus = pid_t(m_terminal->bus.processId());
        kill(bus, SIGSTOP);
        std::thread([bus, pause = std::chrono::milliseconds(upTo(600))] {
            std::this_thread::sleep_for(pause);
            kill(bus, SIGCONT);
        }).detach();
    }

    /// A debugger keeps the module, also when it is killed, until it lets it go.
    void debug()
    {
        const QList<pid_t> pids = m_terminal->modules().value(any(m_names));
        if (!pids.isEmpty() && ptrace(PTRACE_SEIZE, pids.first(), nullptr, nullptr) == 0) {
            QTimer::singleShot(upTo(800), this, [pid = pids.first()] { letGo(pid); });
        }
    }

    static void letGo(pid_t pid)
    {
        ptrace(PTRACE_INTERRUPT, pid, nullptr, nullptr);
        int status = 0;
        while (waitpid(pid, &status, __WALL) == pid && WIFSTOPPED(status)) {
            const bool isOver = status >> 16 == PTRACE_EVENT_STOP;
            const int signal = isOver ? 0 : WSTOPSIG(status);
            if (ptrace(isOver ? PTRACE_DETACH : PTRACE_CONT, pid, nullptr, signal) != 0 || isOver) {
                return;
            }
        }
    }

    void endDaemon()
    {
        m_endAsked = true;
        // One signal is taken in the life of a daemon.
        if (m_signalTaken || upTo(1) == 0) {
            ask("stopManager"_s);
        } else {
            m_signalTaken = true;
            kill(m_terminal->pid(), SIGTERM);
        }
    }

    void ask(const QString &method, const QVariantList &arguments = {})
    {
        m_calls.push_back(m_terminal->sendAsync(method, arguments));
    }

    /// After each order: nothing runs twice, the daemon answers, and when it has ended there is a reason.
    void watch()
    {
        const QMap<QString, QList<pid_t>> modules = m_terminal->modules();
        for (auto module = modules.cbegin(); module != modules.cend(); ++module) {
            QVERIFY2(module->size() == 1, qPrintable(module.key() + " runs twice"_s));
        }
        if (!m_terminal->isUp()) {
            watchEnd();
            return;
        }
        if (!m_asked) {
            m_asked = true;
            auto *question = new QDBusPendingCallWatcher(m_terminal->sendAsync("getStepInfra"_s), this);
            connect(question, &QDBusPendingCallWatcher::finished, this, [this, question] {
                m_asked = false;
                m_answered.restart();
                question->deleteLater();
            });
        }
        QVERIFY2(m_answered.elapsed() < longestSilence, "no answer any more");
    }

    void watchEnd()
    {
        // It also gives up by itself when the web client never shows its presentation.
        const bool gaveUp = m_terminal->logCount("Webapp timeout"_s) > 0;
        QCOMPARE(m_terminal->end(0), 0);
        QVERIFY2(m_endAsked || gaveUp, "ended for no reason");
        const QStringList left = m_terminal->leftBehind();
        QVERIFY2(left.isEmpty(), qPrintable(left.join(", "_s)));
        ++m_ends;
        m_endAsked = false;
        m_signalTaken = false;
        m_terminal->start();
        QVERIFY(Terminal::wait([this] { return !m_terminal->states().isEmpty(); }));
        m_answered.restart();
    }

    void calmDown()
    {
        const QMap<QString, QList<pid_t>> modules = m_terminal->modules();
        for (const QList<pid_t> &pids : modules) {
            kill(pids.first(), SIGCONT);
        }
        for (const QString &name : qAsConst(m_names)) {
            m_terminal->addArguments(name, {});
        }
        // An end that was asked for last may still be under way.
        Terminal::wait([this] { return !m_endAsked || !m_terminal->isUp(); }, longestSilence);
        for (QDBusPendingCall &call : m_calls) {
            QVERIFY2(Terminal::wait([&] { return call.isFinished(); }, 30000), "a call was never answered");
        }
        watch();
    }

    const unsigned m_seed;
    const int m_seconds;
    std::mt19937 m_random;
    std::unique_ptr<Terminal> m_terminal;
    std::vector<QDBusPendingCall> m_calls;
    QStringList m_names;
    QElapsedTimer m_answered; ///< since the daemon last answered
    bool m_asked = false;
    bool m_endAsked = false;
    bool m_signalTaken = false;
    int m_ends = 0;
};

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    parser.addOptions(
        {{"seed"_s, "A number, or \"random\"."_s, "N"_s, "1"_s}, {"seconds"_s, "How long."_s, "S"_s, "20"_s}});
    parser.process(application);
    const QString seed = parser.value("seed"_s);
    const int seconds = parser.value("seconds"_s).toInt();
    // Qt Test would end a longer storm.
    qputenv("QTEST_FUNCTION_TIMEOUT", QByteArray::number((seconds + 300) * 1000));
    StormTest test(seed == "random"_s ? std::random_device()() : seed.toUInt(), seconds);
    return QTest::qExec(&test);
}

#include "StormTest.moc"
