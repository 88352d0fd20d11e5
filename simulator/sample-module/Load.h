#ifndef LOAD_H
#define LOAD_H

#include "Behaviour.h"

#include <QObject>
#include <QTimer>

#include <memory>
#include <vector>

/// What a sample module costs the terminal: memory taken and leaked, a busy processor, lines written.
class Load : public QObject
{
    Q_OBJECT

public:
    explicit Load(const Behaviour &behaviour);

    /// From here on it costs what the behaviour says, until the process ends.
    void begin();

private:
    void take(std::size_t kilobytes);

    const Behaviour &m_behaviour;
    QTimer m_leak;
    QTimer m_chatter;
    QTimer m_busy;
    std::vector<std::unique_ptr<char[]>> m_taken;
};

#endif
