#ifndef DISPLAY_H
#define DISPLAY_H

#include "client/Console.h"

#include <QString>

#include <memory>

class LineEditor;

/**
 * Standard output: lines and, on a terminal, a bottom line that changes: the progress of a boot or the prompt, which
 * the line editor keeps if there is one.
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
    /// `typed`: the begin of the line, which was typed before.
    void prompt(const QByteArray &typed = QByteArray());
    void setEditor(std::unique_ptr<LineEditor> editor);
    [[nodiscard]] LineEditor *editor() const { return m_editor.get(); }
    /// Standard output is a terminal that can change a line.
    [[nodiscard]] bool hasBottom() const { return m_hasBottom; }
    void noBottomLine() { bottom(QString()); }

private:
    void bottom(const QString &text);

    const bool m_hasBottom;
    QString m_bottom;
    std::unique_ptr<LineEditor> m_editor;
    qint64 m_lastTime = 0;
};

#endif
