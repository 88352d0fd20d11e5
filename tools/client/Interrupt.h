#ifndef INTERRUPT_H
#define INTERRUPT_H

#include "system/SignalBridge.h"

#include <csignal>

/// Ctrl-C and other requests to end, raised in the event loop, so that what is in progress ends in order.
class Interrupt : public SignalBridge
{
public:
    Interrupt()
        : SignalBridge({SIGINT, SIGTERM, SIGHUP})
    { }
};

#endif
