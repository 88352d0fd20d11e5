#ifndef FORKED_TASK_H
#define FORKED_TASK_H

#include "system/Descriptor.h"

#include <QByteArray>
#include <QObject>
#include <QSocketNotifier>

#include <functional>
#include <memory>

#include <sys/types.h>

/**
 * A function that runs in a forked child, so that a disk that hangs stops the child alone.
 *
 * The function may only make async-signal-safe calls. The child has none of the caller's descriptors but the output: a
 * child that hangs would otherwise hold the pipes of modules and the connection to the bus open. It blocks all signals,
 * so that what ends the daemon does not end it in the middle of a record.
 */
class ForkedTask : public QObject
{
    Q_OBJECT

public:
    /// Writes to `output`, and returns 0 or the number of an error.
    using Work = std::function<int(int output)>;

    ~ForkedTask() override;

    /// False if the process cannot be created; then done() is not emitted.
    bool start(const Work &work);
    [[nodiscard]] bool isRunning() const { return m_pid > 0; }
    /// Waits without the event loop until the task has ended, and done() was emitted. False after `limit` milliseconds.
    bool wait(int limit);

Q_SIGNALS:
    void done(const QByteArray &output, int error);

private:
    void readOutput();

    pid_t m_pid = 0;
    Descriptor m_output;
    std::unique_ptr<QSocketNotifier> m_notifier;
    QByteArray m_text;
};

#endif
