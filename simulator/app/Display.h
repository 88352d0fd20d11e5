#ifndef DISPLAY_H
#define DISPLAY_H

#include "client/Console.h"

#include <QString>

/**
 * Standard output: lines and, on a terminal, a bottom line that changes: the progress of a boot or the prompt.
 */
class Display
{
public:
    using Colour = Console::Colour;

    static inline const QString promptText = QStringLiteral("terminal> ");

    Display();
    ~Display();
    Display(const Display &) = delete;
    Display &operator=(const Display &) = delete;

    void line(const QString &text, Colour colour = Colour::None);
    /// A line with `time`, in microseconds since the boot began, and a subject. An event that arrives late is shown
    /// with the time of the line above it.
    void event(qint64 time, const QString &subject, const QString &text, Colour colour);

    void restartClock() { m_lastTime = 0; }
    void progress(int done, int total, const QString &text);
    void prompt();
    void noBottomLine() { bottom(QString()); }

private:
    void bottom(const QString &text);

    const bool m_hasBottom;
    QString m_bottom;
    qint64 m_lastTime = 0;
};

#endif
