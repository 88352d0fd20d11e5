#ifndef DISPLAY_H
#define DISPLAY_H

#include <QString>

/**
 * Standard output: lines, and on a terminal below them one that changes, the progress of a boot or the prompt. Without
 * a terminal there are plain lines and nothing else. Colours are for terminals without NO_COLOR.
 */
class Display
{
public:
    enum class Tone { Plain, Heading, Good, Notice, Bad, Faint };

    Display();
    ~Display();
    Display(const Display &) = delete;
    Display &operator=(const Display &) = delete;

    void line(const QString &text, Tone tone = Tone::Plain);
    /// With the time since the boot began, in ms, before it, and where it belongs.
    void event(qint64 time, const QString &subject, const QString &text, Tone tone = Tone::Plain);

    void progress(int done, int total, const QString &text);
    void prompt();
    void noBottomLine();

private:
    void erase() const;
    void draw() const;
    [[nodiscard]] QString coloured(const QString &text, Tone tone) const;
    [[nodiscard]] int width() const;

    bool m_isTerminal;
    bool m_isColoured;
    QString m_bottom;
};

#endif
