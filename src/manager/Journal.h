#ifndef JOURNAL_H
#define JOURNAL_H

#include "manager/Timeline.h"
#include "supervision/SupervisionObserver.h"

#include <QHash>
#include <QObject>
#include <QString>

/**
 * Keeps what happened to modules and steps, and emits it as it happens.
 *
 * It uses names alone, so it outlives the nodes and records that a restart destroys and creates again: a new record's
 * first state is a change only when it differs from the last one known of that name. All times are microseconds of
 * CLOCK_MONOTONIC, 0 for never, each the last time that the thing happened.
 */
class Journal : public QObject, public SupervisionObserver
{
    Q_OBJECT

public:
    struct ModuleHistory
    {
        ModuleState state = ModuleState::None;
        quint64 launchedAt = 0;
        quint64 readyAt = 0;
        quint64 exitedAt = 0;
        quint32 starts = 0;
        quint32 exits = 0;
        quint32 exitsBySignal = 0; ///< of these
        int exitCode = 0; ///< of the last run that ended, or the signal
        bool exitedBySignal = false;
    };

    struct StepHistory
    {
        quint64 startedAt = 0;
        quint64 doneAt = 0;
    };

    void noteState(const QString &name, ModuleState oldState, ModuleState newState) override;
    void noteLaunch(const QString &name) override;
    void noteExit(const QString &name, int exitCode, bool bySignal) override;
    void noteStepStarted(const QString &name) override;
    void noteStepDone(const QString &name, int value) override;
    void noteFailedStart(const QVariantMap &reason) override { Q_EMIT startFailed(reason); }
    void noteReboot(const QVariantMap &reason) override { Q_EMIT rebootComes(reason); }
    void noteUntakenReboot() override { Q_EMIT rebootUntaken(); }
    void noteEnding(const QVariantMap &reason) override { Q_EMIT ending(reason); }
    void noteStart(bool again);
    void noteEndOfInit();
    /// All steps are done. Only the first time after a start counts: a later start of everything begins in the middle.
    void noteComplete();
    void noteStopAll();

    [[nodiscard]] ModuleHistory module(const QString &name) const { return m_modules.value(name); }
    [[nodiscard]] StepHistory step(const QString &name) const { return m_steps.value(name); }
    /// Of the last start or restart, and of the end of its initialisation.
    [[nodiscard]] quint64 startedAt() const { return m_startedAt; }
    [[nodiscard]] quint64 endOfInitAt() const { return m_endOfInitAt; }
    [[nodiscard]] quint64 completeAt() const { return m_completeAt; }
    [[nodiscard]] const Timeline &timeline() const { return m_timeline; }

Q_SIGNALS:
    void moduleStateChanged(const QString &name, ModuleState oldState, ModuleState newState);
    void stepDone(const QString &name, int value);
    void startFailed(const QVariantMap &reason);
    void rebootComes(const QVariantMap &reason);
    void rebootUntaken();
    void ending(const QVariantMap &reason);

private:
    quint64 add(const QString &event, const QString &name = QString());

    QHash<QString, ModuleHistory> m_modules;
    QHash<QString, StepHistory> m_steps;
    Timeline m_timeline;
    quint64 m_startedAt = 0;
    quint64 m_endOfInitAt = 0;
    quint64 m_completeAt = 0;
};

#endif
