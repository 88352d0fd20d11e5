#ifndef PROMPT_H
#define PROMPT_H

#include <QByteArray>
#include <QObject>
#include <QSocketNotifier>

/// Standard input as a source of commands, a line each.
class Prompt : public QObject
{
    Q_OBJECT

public:
    Prompt();

    /// Standard input is a terminal that listens to us, or a pipe.
    [[nodiscard]] static bool isUsable();
    [[nodiscard]] static bool isTerminal();

Q_SIGNALS:
    void line(const QString &text);
    /// Ctrl-D, or the pipe's other end has closed.
    void ended();

private:
    void receive();

    QSocketNotifier m_notifier;
    QByteArray m_pending;
};

#endif
