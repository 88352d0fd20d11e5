#ifndef MEMORY_LIMIT_H
#define MEMORY_LIMIT_H

#include <QtGlobal>

/**
 * A limit has two meanings, told apart by its size: 1 to 99 is a percentage of the device's memory, 100 or more a size
 * in kB. 0 or less is no limit.
 */
namespace MemoryLimit {

constexpr int firstAbsoluteLimit = 100;

/// `used` of `total` in whole per cent, rounded down; -1 when there is no total, so that no percentage is ever
/// exceeded.
[[nodiscard]] constexpr qint64 percentage(qint64 used, qint64 total)
{
    return total < 1 ? -1 : used * 100 / total;
}

[[nodiscard]] constexpr bool exceeded(int limit, qint64 used, qint64 usedPercentage)
{
    if (limit <= 0) {
        return false;
    }
    return limit < firstAbsoluteLimit ? usedPercentage > limit : used > limit;
}

} // namespace MemoryLimit

#endif
