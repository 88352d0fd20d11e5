#ifndef MANDATORY_SETTINGS_H
#define MANDATORY_SETTINGS_H

#include <QtGlobal>

class ApplicationManager;
class JovEvent;

/**
 * The check of the mandatory settings with the settings manager, once per start and before the first step above 4.
 *
 * It waits without a limit for the answer; a stop, or the end of the settings manager, ends the wait. The start-up has
 * failed when the settings manager does not run, ends meanwhile, or announces that it is about to reboot the terminal.
 */
class MandatorySettings
{
public:
    explicit MandatorySettings(ApplicationManager &manager)
        : m_manager(manager)
    { }

    /// A new start: nothing is checked yet.
    void reset();
    void check();
    /// The settings manager's answer.
    void answered(const JovEvent &event);

    /// The check has been made in this start, whatever came of it.
    [[nodiscard]] bool isDone() const { return m_done; }
    /// It made the start-up fail.
    [[nodiscard]] bool hasFailed() const { return m_failed; }

private:
    [[nodiscard]] bool isRunning() const;
    void settingsManagerGone();

    ApplicationManager &m_manager;
    bool m_done = false;
    bool m_answered = false;
    bool m_failed = false;
};

#endif
