#ifndef SATURATED_H
#define SATURATED_H

#include <QtGlobal>

#include <limits>

/// The nearest int that the bus can carry, but for the smallest of all: this one can be negated.
inline int saturated(qint64 value)
{
    constexpr qint64 largest = std::numeric_limits<int>::max();
    return int(qBound(-largest, value, largest));
}

#endif
