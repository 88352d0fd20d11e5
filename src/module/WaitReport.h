#ifndef WAIT_REPORT_H
#define WAIT_REPORT_H

#include <QElapsedTimer>
#include <QObject>
#include <QSet>
#include <QTimer>

#include <memory>

class BusConnection;
class BusMessage;

/**
 * Logs, while it lives, that the start-up waits for a module: after a while, and then ever more rarely.
 *
 * From the first line on it looks for the usual cause, a module that is installed under another name than it announces:
 * it listens to the announcements of all, and asks the bus which component names the module's process owns. That needs
 * a connection of its own, because the daemon's is not woken by events that nobody has subscribed to.
 */
class WaitReport : public QObject
{
    Q_OBJECT

public:
    /// `interval` is the time until the first line, in milliseconds.
    WaitReport(const QString &module, qint64 pid, int interval);
    ~WaitReport() override;

private:
    void report();
    void inquire();
    void askForNames();
    void hear(const BusMessage &signal);
    /// Logs the finding, once, if the connection of that name is the module's.
    void logIfOurs(const QString &busName, const QString &finding);

    const QString m_module;
    const qint64 m_pid;
    QTimer m_timer;
    QElapsedTimer m_elapsed;
    std::unique_ptr<BusConnection> m_connection; ///< from the first line on
    QSet<QString> m_logged;
};

#endif
