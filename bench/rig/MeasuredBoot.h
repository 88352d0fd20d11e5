#ifndef MEASURED_BOOT_H
#define MEASURED_BOOT_H

#include "bus/PrivateBus.h"
#include "rig/BenchTerminal.h"

#include <QDBusMessage>
#include <QElapsedTimer>
#include <QObject>

#include <functional>
#include <memory>

/// Where the programs to measure were built.
struct Programs
{
    QString daemon;
    QString floor;
    QString bareLoop;
    QString talkingLoop;
    QString tinyModule;
    QString listServer;
    QString command;
    QString jovRun;

    /// Those beside the running program; `daemon` may be another one.
    [[nodiscard]] static Programs beside(const QString &program, const QString &daemon);
};

/**
 * One boot of all modules on a bus of its own, by the daemon or by the bare loop, measured from outside: the time
 * between two modules' announcements as they arrive on the bus, which needs no trust in either's own clock.
 *
 * The constructor returns when the last module has announced itself; with the object everything ends. The caller is to
 * be the subreaper of what it starts (becomeSubreaper()), so that nothing is left behind unseen.
 */
class MeasuredBoot : public QObject
{
    Q_OBJECT

public:
    enum class By { Daemon, DaemonInForeground, Floor };

    enum class Until { LastOfThem, AllHaveAnnounced }; ///< the first listens to the first and the last name only

    MeasuredBoot(By by, const Programs &programs, const BenchTerminal &terminal, const QStringList &names,
                 Until until = Until::LastOfThem);
    ~MeasuredBoot() override;

    /// From the first announcement to the last, in milliseconds, by the number of starts between them.
    [[nodiscard]] double perModule() const;
    /// From the start of the supervisor to the last announcement, in milliseconds.
    [[nodiscard]] double whole() const { return double(m_lastAt) / 1e6; }
    /// Ends the supervisor with SIGTERM: how long that takes, in milliseconds.
    double stop();
    /// The process that supervises the modules.
    [[nodiscard]] qint64 supervisor() const { return m_pid; }
    [[nodiscard]] const PrivateBus &bus() const { return *m_bus; }

    static void becomeSubreaper();

private Q_SLOTS:
    void announced(const QDBusMessage &message);

private:
    void subscribe(const QStringList &event);
    void bootByDaemon(const QString &program, const BenchTerminal &terminal);
    void bootInForeground(const QStringList &command);
    static void waitUntil(const std::function<bool()> &reached);

    std::unique_ptr<PrivateBus> m_bus = std::make_unique<PrivateBus>();
    QString m_connectionName;
    QProcess m_process;
    QElapsedTimer m_clock;
    int m_starts;
    int m_awaited; ///< announcements
    qint64 m_firstAt = -1;
    qint64 m_lastAt = -1;
    qint64 m_pid = 0;
};

#endif
