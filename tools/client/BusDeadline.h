#ifndef BUS_DEADLINE_H
#define BUS_DEADLINE_H

/**
 * While it exists, the process ends with status 3 and a line when 5 s are over. QtDBus connects without a limit: a bus
 * that accepts a connection and never answers would block it for ever.
 */
class BusDeadline
{
public:
    BusDeadline();
    ~BusDeadline();
    BusDeadline(const BusDeadline &) = delete;
    BusDeadline &operator=(const BusDeadline &) = delete;
};

#endif
