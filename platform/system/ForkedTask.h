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
 * A function that runs in a forked child, so that a disk or a command that hangs stops the child alone.
 *
 * The process must have one thread; the function may not log. The child has none of the caller's descriptors but the
 * output, and the standard streams if it is to keep them: a child that hangs would otherwise hold the pipes of modules
 * and the connection to the bus open. It blocks all signals, so that what ends the daemon does not end it in the middle
 * of a record. What it executes has neither the output nor the blocked signals (Spawn).
 */
class ForkedTask : public QObject
{
    Q_OBJECT

public:
    /// Writes to `output`, and returns 0 or the number of an error.
    using Work = std::function<int(int output)>;
    enum class Streams { Closed, Kept };

    /// `name` is that of the process, at most 15 characters.
    explicit ForkedTask(const char *name, Streams streams = Streams::Closed)
        : m_name(name)
        , m_streams(streams)
    { }
    ~ForkedTask() override;

    /// False if the process cannot be created; then done() is not emitted.
    bool start(const Work &work);
    [[nodiscard]] bool isRunning() const { return m_pid > 0; }
    /// What is written here can be read from the task's output, while it is running.
    [[nodiscard]] int connection() const { return m_output.number(); }
    /// Waits without the event loop until the task has ended, and done() was emitted. False after `limit` milliseconds.
    bool wait(int limit);
    /// The task is to come to its end, if it looks at isCutOff().
    void cutOff();
    /// For the task itself: cutOff() was called.
    [[nodiscard]] static bool isCutOff();

Q_SIGNALS:
    void done(const QByteArray &output, int error);

private:
    void readOutput();

    const char *const m_name;
    const Streams m_streams;
    pid_t m_pid = 0;
    Descriptor m_output;
    std::unique_ptr<QSocketNotifier> m_notifier;
    QByteArray m_text;
};

#endif
