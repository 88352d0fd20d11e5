#ifndef CONNECT_LIMIT_H
#define CONNECT_LIMIT_H

#include <csignal>
#include <ctime>

/**
 * Ends a connect(2) that blocks, while it lives: a bus that hangs takes connections until its queue of them is full,
 * and then libdbus, which connects with a blocking socket, would wait for ever. A signal that comes every few
 * milliseconds interrupts it.
 */
class ConnectLimit
{
public:
    ConnectLimit();
    ~ConnectLimit();
    ConnectLimit(const ConnectLimit &) = delete;
    ConnectLimit &operator=(const ConnectLimit &) = delete;

private:
    struct sigaction m_oldAction = {};
    sigset_t m_oldMask = {};
    timer_t m_timer = {};
    bool m_hasTimer = false;
};

#endif
