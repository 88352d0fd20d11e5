#ifndef BOOT_RECORD_H
#define BOOT_RECORD_H

#include "TerminalFiles.h"

#include <QDateTime>
#include <QElapsedTimer>
#include <QMap>
#include <QStringList>

/// One boot of the terminal as far as it has got: what was started when, what is up, which steps are done. Times are ms
/// since the boot began.
class BootRecord
{
public:
    struct Module
    {
        qint64 startedAt = -1;
        qint64 upAt = -1; ///< -1 while it is not up
        qint64 took = -1; ///< from its start until it was up
    };
    struct Step
    {
        QString name;
        int value = 0;
        int modules = 0;
        qint64 took = -1; ///< -1 while it has not been started
    };

    /// Begins now, with what the files below JOV_ROOT say.
    BootRecord();

    [[nodiscard]] qint64 now() const { return m_clock.elapsed(); }
    /// When a line of the daemon's log was written.
    [[nodiscard]] qint64 at(const QDateTime &time) const { return qMax<qint64>(0, m_begin.msecsTo(time)); }

    void started(const QString &module);
    void up(const QString &module);
    /// It went down at `time`; older than its last start, that does not count.
    void down(const QString &module, qint64 time);
    void stepDone(const QString &step, qint64 took);
    void complete() { m_duration = now(); }

    [[nodiscard]] const TerminalFiles &files() const { return m_files; }
    [[nodiscard]] QMap<QString, Module> modules() const { return m_modules; }
    [[nodiscard]] QList<Step> steps() const;
    [[nodiscard]] int expected() const { return m_expected.size(); }
    [[nodiscard]] int upCount() const;
    [[nodiscard]] QStringList missing() const;
    /// The one whose start the supervisor is waiting for; empty for none.
    [[nodiscard]] QString waitingFor() const;
    [[nodiscard]] bool isComplete() const { return m_duration >= 0; }
    [[nodiscard]] qint64 duration() const { return m_duration; }

private:
    QElapsedTimer m_clock;
    QDateTime m_begin;
    TerminalFiles m_files;
    QStringList m_expected;
    QMap<QString, Module> m_modules;
    QMap<QString, qint64> m_stepTook;
    qint64 m_duration = -1;
};

#endif
