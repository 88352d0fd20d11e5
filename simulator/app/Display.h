#ifndef DISPLAY_H
#define DISPLAY_H

#include "client/Console.h"

#include <QString>

/**
 * Standard output: lines, and on a terminal below them one that changes, the progress of a boot or the prompt. Without
 * a terminal there are plain lines and nothing else.
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
    /// With the time since the boot began, in microseconds, before it, and where it belongs. What is heard of a little
    /// late is shown with the time of the line above it.
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
