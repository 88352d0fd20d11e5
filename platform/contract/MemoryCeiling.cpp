#include "contract/MemoryCeiling.h"

qint64 MemoryCeiling::percentage(qint64 used, qint64 total)
{
    return total < 1 ? -1 : used * 100 / total;
}

qint64 MemoryCeiling::size(qint64 totalMemory) const
{
    if (!isSet()) {
        return 0;
    }
    return isPercentage() ? totalMemory * m_figure / 100 : m_figure;
}

bool MemoryCeiling::isExceeded(qint64 used, qint64 totalMemory) const
{
    if (!isSet()) {
        return false;
    }
    return isPercentage() ? percentage(used, totalMemory) > m_figure : used > m_figure;
}
