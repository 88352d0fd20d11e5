#include "jovctl/KeyReader.h"

#include <unistd.h>

KeyReader::KeyReader()
{
    if (tcgetpgrp(STDIN_FILENO) != getpgrp() || tcgetattr(STDIN_FILENO, &m_before) != 0) {
        return;
    }
    termios byKey = m_before;
    byKey.c_lflag &= ~tcflag_t(ICANON | ECHO);
    tcsetattr(STDIN_FILENO, TCSANOW, &byKey);
    m_input = std::make_unique<QSocketNotifier>(STDIN_FILENO, QSocketNotifier::Read);
    connect(m_input.get(), &QSocketNotifier::activated, this, &KeyReader::readKey);
}

KeyReader::~KeyReader()
{
    if (m_input) {
        tcsetattr(STDIN_FILENO, TCSANOW, &m_before);
    }
}

void KeyReader::readKey()
{
    char key = 0;
    if (read(STDIN_FILENO, &key, 1) == 1) {
        Q_EMIT pressed(key);
    } else {
        m_input->setEnabled(false); // its end
    }
}
