#include "app/LineEditor.h"

#include "client/Console.h"
#include "client/TextWidth.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cstdio>
#include <cwchar>

#include <histedit.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr int linesKept = 500;
constexpr qint64 largestHistory = 1 << 20;
constexpr int restOfKey = 50; // ms in which the rest of a key arrives that sends more than one byte
constexpr char endOfInput = '\x04';

/// Below $XDG_STATE_HOME or ~/.local/state; empty if nothing can be written there.
QByteArray historyFile()
{
    const QString wanted = qEnvironmentVariable("XDG_STATE_HOME");
    const QString state = QDir::isAbsolutePath(wanted) ? wanted : QDir::homePath() + QStringLiteral("/.local/state");
    const QString folder = state + QStringLiteral("/jov-simulator");
    const QFileInfo file(folder + QStringLiteral("/history"));
    const mode_t mask = umask(S_IRWXG | S_IRWXO);
    const bool isThere = QDir().mkpath(folder);
    umask(mask);
    return isThere && (!file.exists() || file.isFile()) ? QFile::encodeName(file.filePath()) : QByteArray();
}

QString commonBegin(const QStringList &words)
{
    QString common = words.constFirst();
    for (const QString &word : words) {
        while (!word.startsWith(common)) {
            common.chop(1);
        }
    }
    return common;
}

} // namespace

LineEditor::LineEditor(const QString &prompt, Candidates candidates)
    : m_prompt(prompt.toLocal8Bit())
    , m_candidates(std::move(candidates))
    , m_editor(el_init("jov-simulator", stdin, stdout, stderr), el_end)
    , m_history(history_init(), history_end)
{
    editline *editor = m_editor.get();
    el_set(editor, EL_CLIENTDATA, this);
    el_set(
        editor, EL_PROMPT, +[](editline *self) { return const_cast<char *>(of(self).m_prompt.constData()); });
    el_set(editor, EL_GETCFN, &LineEditor::readCharacter);
    el_set(editor, EL_EDITOR, "emacs");
    el_set(editor, EL_ADDFN, "complete", "Complete the word", &LineEditor::complete);
    el_set(editor, EL_BIND, "^I", "complete", nullptr);
    loadHistory();
}

LineEditor::~LineEditor()
{
    end();
}

LineEditor &LineEditor::of(editline *editor)
{
    void *self = nullptr;
    el_get(editor, EL_CLIENTDATA, &self);
    return *static_cast<LineEditor *>(self);
}

void LineEditor::loadHistory()
{
    HistEvent event;
    ::history(m_history.get(), &event, H_SETSIZE, linesKept);
    ::history(m_history.get(), &event, H_SETUNIQUE, 1);
    m_historyFile = historyFile();
    if (!m_historyFile.isEmpty() && QFileInfo(QFile::decodeName(m_historyFile)).size() <= largestHistory) {
        ::history(m_history.get(), &event, H_LOAD, m_historyFile.constData());
    }
    el_set(m_editor.get(), EL_HIST, ::history, m_history.get());
}

void LineEditor::remember()
{
    if (m_line.isEmpty()) {
        return;
    }
    HistEvent event;
    ::history(m_history.get(), &event, H_ENTER, m_line.toLocal8Bit().constData());
    if (!m_historyFile.isEmpty()) {
        ::history(m_history.get(), &event, H_SAVE, m_historyFile.constData());
    }
}

void LineEditor::begin(const QByteArray &typed)
{
    if (m_isActive) {
        return;
    }
    m_isActive = true;
    el_set(m_editor.get(), EL_UNBUFFERED, 1);
    m_typed += typed;
    if (!m_typed.isEmpty()) {
        el_insertstr(m_editor.get(), m_typed.constData());
        m_typed.clear();
        el_set(m_editor.get(), EL_REFRESH);
    }
}

void LineEditor::end()
{
    if (!m_isActive) {
        return;
    }
    const LineInfo *line = el_line(m_editor.get());
    m_typed = QByteArray(line->buffer, int(line->lastchar - line->buffer));
    hide();
    Console::flush();
    m_isActive = false;
    el_set(m_editor.get(), EL_UNBUFFERED, 0);
}

QByteArray LineEditor::beforeCursor() const
{
    const LineInfo *line = el_line(m_editor.get());
    return {line->buffer, int(line->cursor - line->buffer)};
}

void LineEditor::hide()
{
    const int cells = textWidth(QString::fromLocal8Bit(m_prompt + beforeCursor()));
    const int row = cells / Console::columns();
    Console::write((row > 0 ? QStringLiteral("\x1b[%1A").arg(row) : QString()) + QStringLiteral("\r\x1b[J"));
}

void LineEditor::show()
{
    Console::flush();
    el_resize(m_editor.get());
    el_set(m_editor.get(), EL_REFRESH);
}

LineEditor::Result LineEditor::read()
{
    int length = 0;
    const char *text = el_gets(m_editor.get(), &length);
    const bool isEnd = m_isClosed || (text && length == 1 && *text == endOfInput);
    if (!isEnd && (!text || length < 1 || text[length - 1] != '\n')) {
        return Result::Typing;
    }
    m_line = isEnd ? QString() : QString::fromLocal8Bit(text, length - 1).trimmed();
    m_isActive = false;
    el_set(m_editor.get(), EL_UNBUFFERED, 0);
    if (isEnd) {
        Console::writeLine(QString());
        return Result::End;
    }
    remember();
    return Result::Line;
}

/// Instead of libedit's own, which would wait in the middle of a key, such as a lone Esc.
int LineEditor::readCharacter(editline *editor, wchar_t *character)
{
    std::mbstate_t state = {};
    for (;;) {
        pollfd input = {STDIN_FILENO, POLLIN, 0};
        char byte = 0;
        if (poll(&input, 1, restOfKey) != 1) {
            return 0;
        }
        if (::read(STDIN_FILENO, &byte, 1) != 1) {
            of(editor).m_isClosed = true;
            return 0;
        }
        const std::size_t length = std::mbrtowc(character, &byte, 1, &state);
        if (length <= 1) {
            return 1;
        }
        if (length != std::size_t(-2)) {
            state = {}; // no character: ignored
        }
    }
}

unsigned char LineEditor::complete(editline *editor, int /*key*/)
{
    LineEditor &self = of(editor);
    QStringList words =
        QString::fromLocal8Bit(self.beforeCursor()).simplified().split(QLatin1Char(' '), Qt::SkipEmptyParts);
    const bool isInWord = !self.beforeCursor().isEmpty() && !self.beforeCursor().endsWith(' ');
    const QString begin = isInWord ? words.takeLast() : QString();
    const QStringList all = self.m_candidates(words);
    QStringList fitting;
    std::copy_if(all.begin(), all.end(), std::back_inserter(fitting),
                 [&begin](const QString &word) { return word.startsWith(begin); });
    if (fitting.isEmpty()) {
        return CC_REFRESH_BEEP;
    }
    const QString more =
        commonBegin(fitting).mid(begin.size()) + (fitting.size() == 1 ? QStringLiteral(" ") : QString());
    if (!more.isEmpty()) {
        el_insertstr(editor, more.toLocal8Bit().constData());
        return CC_REFRESH;
    }
    self.hide();
    Console::writeLine(Console::printable(fitting.join(QStringLiteral("  "))));
    self.show();
    return CC_NORM;
}
