#ifndef MANDATORY_SETTINGS_H
#define MANDATORY_SETTINGS_H

#include <QObject>

class BusAccess;
class Catalogue;
class JovEvent;
class SupervisionObserver;
class SupervisionState;

/**
 * The check of the mandatory settings with the settings manager, once per start and before the first step above 4.
 *
 * It waits without a limit for the answer; a stop, or the end of the settings manager, ends the wait. The start-up has
 * failed when the settings manager does not run, ends during the check, or announces that it is about to reboot the
 * terminal.
 */
class MandatorySettings : public QObject
{
    Q_OBJECT

public:
    MandatorySettings(SupervisionState &state, BusAccess &bus, SupervisionObserver &observer, Catalogue &catalogue)
        : m_state(state)
        , m_bus(bus)
        , m_observer(observer)
        , m_catalogue(catalogue)
    { }

    /// A new start: nothing is checked yet.
    void reset();
    void check();

    /// The check has been made in this start, with any result.
    [[nodiscard]] bool isDone() const { return m_done; }
    /// It made the start-up fail.
    [[nodiscard]] bool hasFailed() const { return m_failed; }

public Q_SLOTS:
    /// The settings manager's answer.
    void checkMandatorySettingsSuccess(const JovEvent &event);

private:
    [[nodiscard]] bool isRunning() const;
    void failStart(const QString &message);
    void init_message(const QString &message);

    SupervisionState &m_state;
    BusAccess &m_bus;
    SupervisionObserver &m_observer;
    Catalogue &m_catalogue;
    bool m_done = false;
    bool m_answered = false;
    bool m_failed = false;
};

#endif
