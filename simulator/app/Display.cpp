#include "Display.h"

#include <cstdio>

#include <sys/ioctl.h>
#include <unistd.h>

namespace {

constexpr int barWidth = 24;
constexpr int subjectWidth = 16;

const char *colourOf(Display::Tone tone)
{
    switch (tone) {
    case Display::Tone::Heading:
        return "1";
    case Display::Tone::Good:
        return "32";
    case Display::Tone::Notice:
        return "33";
    case Display::Tone::Bad:
        return "31";
    case Display::Tone::Faint:
        return "2";
    case Display::Tone::Plain:
        break;
    }
    return "";
}

void write(const QString &text)
{
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, static_cast<std::size_t>(bytes.size()), stdout);
    std::fflush(stdout);
}

} // namespace

Display::Display()
    : m_isTerminal(isatty(STDOUT_FILENO) == 1 && qgetenv("TERM") != "dumb")
    , m_isColoured(m_isTerminal && qEnvironmentVariableIsEmpty("NO_COLOR"))
{ }

Display::~Display()
{
    noBottomLine();
}

void Display::line(const QString &text, Tone tone)
{
    erase();
    write(coloured(text, tone) + QLatin1Char('\n'));
    draw();
}

void Display::event(qint64 time, const QString &subject, const QString &text, Tone tone)
{
    const QString clock = QString::number(static_cast<double>(time) / 1000, 'f', 3).rightJustified(9);
    line(QStringLiteral("%1  %2 %3").arg(clock, subject.leftJustified(subjectWidth), text), tone);
}

void Display::progress(int done, int total, const QString &text)
{
    if (!m_isTerminal) {
        return;
    }
    const int filled = total > 0 ? qMin(barWidth, done * barWidth / total) : 0;
    const QString bar = QString(filled, QLatin1Char('#')) + QString(barWidth - filled, QLatin1Char('-'));
    const QString line = QStringLiteral("[%1] %2/%3  %4").arg(bar).arg(done).arg(total).arg(text).left(width() - 1);
    if (line != m_bottom) {
        erase();
        m_bottom = line;
        draw();
    }
}

void Display::prompt()
{
    if (m_isTerminal) {
        erase();
        m_bottom = QStringLiteral("terminal> ");
        draw();
    }
}

void Display::noBottomLine()
{
    erase();
    m_bottom.clear();
}

void Display::erase() const
{
    if (!m_bottom.isEmpty()) {
        write(QStringLiteral("\r\x1b[K"));
    }
}

void Display::draw() const
{
    if (!m_bottom.isEmpty()) {
        write(m_bottom);
    }
}

QString Display::coloured(const QString &text, Tone tone) const
{
    const QLatin1String colour(colourOf(tone));
    return m_isColoured && colour.size() > 0 ? QStringLiteral("\x1b[%1m%2\x1b[0m").arg(colour, text) : text;
}

int Display::width() const
{
    winsize size = {};
    return ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}
