#include "app/Prompt.h"

#include <array>

#include <sys/stat.h>
#include <unistd.h>

Prompt::Prompt()
    : m_notifier(STDIN_FILENO, QSocketNotifier::Read)
{
    connect(&m_notifier, &QSocketNotifier::activated, this, &Prompt::receive);
}

bool Prompt::isUsable()
{
    if (isTerminal()) {
        return tcgetpgrp(STDIN_FILENO) == getpgrp(); // in the background reading would stop us
    }
    struct stat input = {};
    return fstat(STDIN_FILENO, &input) == 0 && (S_ISFIFO(input.st_mode) || S_ISSOCK(input.st_mode));
}

bool Prompt::isTerminal()
{
    return isatty(STDIN_FILENO) == 1;
}

void Prompt::receive()
{
    std::array<char, 4096> buffer;
    const ssize_t size = read(STDIN_FILENO, buffer.data(), buffer.size());
    if (size > 0) {
        m_pending.append(buffer.data(), static_cast<int>(size));
    }
    for (int end = m_pending.indexOf('\n'); end >= 0; end = m_pending.indexOf('\n')) {
        const QString text = QString::fromLocal8Bit(m_pending.left(end)).trimmed();
        m_pending.remove(0, end + 1);
        Q_EMIT line(text);
    }
    if (size <= 0) {
        m_notifier.setEnabled(false);
        Q_EMIT ended();
    }
}
