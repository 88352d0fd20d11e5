#ifndef KEY_READER_H
#define KEY_READER_H

#include <QObject>
#include <QSocketNotifier>

#include <memory>

#include <termios.h>

/// Keys as they are pressed, if standard input is the terminal and this process is in its foreground.
class KeyReader : public QObject
{
    Q_OBJECT

public:
    KeyReader();
    ~KeyReader() override;
    Q_DISABLE_COPY(KeyReader)

Q_SIGNALS:
    void pressed(char key);

private:
    void readKey();

    termios m_before = {};
    std::unique_ptr<QSocketNotifier> m_input; ///< null: no keys
};

#endif
