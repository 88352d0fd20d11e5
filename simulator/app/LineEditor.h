#ifndef LINE_EDITOR_H
#define LINE_EDITOR_H

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>

struct editline;
struct history;

/**
 * The prompt on a terminal: a line that is edited, with a history and completion, by libedit. It reads one key at a
 * time, when the event loop has found one.
 */
class LineEditor
{
public:
    /// All words that can follow the words before.
    using Candidates = std::function<QStringList(const QStringList &before)>;
    enum class Result { Typing, Line, End };

    LineEditor(const QString &prompt, Candidates candidates);
    ~LineEditor();
    LineEditor(const LineEditor &) = delete;
    LineEditor &operator=(const LineEditor &) = delete;

    /// From begin() to end() or the end of a line the prompt is shown, and the terminal passes on each key.
    void begin(const QByteArray &typed = QByteArray());
    /// Removes the prompt. What was typed so far comes back with the next one.
    void end();
    [[nodiscard]] bool isActive() const { return m_isActive; }
    /// Around other output.
    void hide();
    void show();

    Result read();
    /// Of the last Result::Line, without blanks at its ends.
    [[nodiscard]] QString line() const { return m_line; }

private:
    static int readCharacter(editline *editor, wchar_t *character);
    static unsigned char complete(editline *editor, int key);
    static LineEditor &of(editline *editor);
    void loadHistory();
    void remember();
    [[nodiscard]] QByteArray beforeCursor() const;

    const QByteArray m_prompt;
    const Candidates m_candidates;
    std::unique_ptr<editline, void (*)(editline *)> m_editor;
    std::unique_ptr<history, void (*)(history *)> m_history;
    QByteArray m_historyFile;
    QByteArray m_typed;
    QString m_line;
    bool m_isActive = false;
    bool m_isClosed = false; ///< the terminal
};

#endif
