#include "app/Display.h"

#include "app/LineEditor.h"
#include "client/TextWidth.h"

namespace {

constexpr int barWidth = 24;
constexpr int subjectWidth = 16;

const QString toLineBegin = QStringLiteral("\r\x1b[K");

} // namespace

Display::Display()
    : m_hasBottom(Console::isTerminal() && qgetenv("TERM") != "dumb")
{ }

Display::~Display()
{
    noBottomLine();
}

void Display::setEditor(std::unique_ptr<LineEditor> editor)
{
    m_editor = std::move(editor);
}

void Display::line(const QString &text, Colour colour)
{
    if (m_editor && m_editor->isActive()) {
        m_editor->hide();
        Console::writeLine(Console::coloured(text, colour));
        m_editor->show();
        return;
    }
    Console::write((m_bottom.isEmpty() ? QString() : toLineBegin) + Console::coloured(text, colour) + QLatin1Char('\n')
                   + m_bottom);
    Console::flush();
}

void Display::event(qint64 time, const QString &subject, const QString &text, Colour colour)
{
    m_lastTime = qMax(m_lastTime, time);
    const QString clock = QString::number(double(m_lastTime) / 1000000, 'f', 3).rightJustified(9);
    line(Console::coloured(clock, Colour::Dim) + QStringLiteral("  ")
         + Console::coloured(Console::printable(subject).leftJustified(subjectWidth), colour) + QLatin1Char(' ')
         + Console::coloured(Console::printable(text), colour));
}

void Display::progress(int done, int total, const QString &text)
{
    const int filled = total > 0 ? qMin(barWidth, done * barWidth / total) : 0;
    const bool isFine = Console::isUtf8();
    const QString bar = Console::coloured(QString(filled, isFine ? QChar(0x2501) : QLatin1Char('#')), Colour::Good)
        + Console::coloured(QString(barWidth - filled, isFine ? QChar(0x2501) : QLatin1Char('-')), Colour::Dim);
    const QString count = QStringLiteral("  %1/%2  ").arg(done).arg(total);
    const int room = Console::columns() - 1 - barWidth - count.size();
    bottom(room < 0 ? QString() : bar + count + shortened(Console::printable(text), room));
}

void Display::prompt(const QByteArray &typed)
{
    if (!m_editor) {
        bottom(promptText);
    } else if (!m_editor->isActive()) {
        bottom(QString());
        m_editor->begin(typed);
    }
}

void Display::bottom(const QString &text)
{
    if (m_editor) {
        m_editor->end();
    }
    if (m_hasBottom && text != m_bottom) {
        Console::write(toLineBegin + text);
        Console::flush();
        m_bottom = text;
    }
}
