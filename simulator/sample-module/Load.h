#ifndef LOAD_H
#define LOAD_H

#include "sample-module/Behaviour.h"

#include <QObject>
#include <QTimer>

#include <array>
#include <memory>
#include <vector>

/// The load that a sample module causes: memory, a busy processor, lines of output.
class Load : public QObject
{
    Q_OBJECT

public:
    explicit Load(const Behaviour &behaviour);

    /// Causes the load of the behaviour until the process ends.
    void begin();

private:
    using Kilobyte = std::array<char, 1024>;

    void leak();
    void take(int kilobytes);

    const Behaviour &m_behaviour;
    QTimer m_leak;
    qint64 m_leaks = 0; ///< how often it has leaked
    QTimer m_chatter;
    QTimer m_busy;
    std::vector<std::unique_ptr<Kilobyte[]>> m_taken;
};

#endif
