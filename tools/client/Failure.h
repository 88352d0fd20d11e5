#ifndef FAILURE_H
#define FAILURE_H

#include <QString>

#include <exception>

/// The program's exit statuses.
enum class ExitStatus : int {
    Done = 0,
    Failed = 1,
    Usage = 2, ///< also an unknown module
    NoDaemon = 3,
    NotUp = 4, ///< a module that was asked for is not running
    Reboot = 5 ///< the terminal will reboot
};

/// Ends a command: runCommandLine() prints the text and returns the status. Must not be thrown across an event loop.
class Failure : public std::exception
{
public:
    Failure(ExitStatus status, const QString &text)
        : m_status(status)
        , m_text(text)
    { }

    [[nodiscard]] ExitStatus status() const { return m_status; }
    [[nodiscard]] QString text() const { return m_text; }

private:
    ExitStatus m_status;
    QString m_text;
};

#endif
