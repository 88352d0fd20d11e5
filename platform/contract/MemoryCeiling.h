#ifndef MEMORY_CEILING_H
#define MEMORY_CEILING_H

#include <QtGlobal>

/**
 * How much memory a module may use: a share of the terminal's memory in per cent, a size in kB, or no limit.
 *
 * Files and the bus carry it as one figure: 1 to 99 is a percentage, 100 or more a size in kB, anything else no limit.
 */
class MemoryCeiling
{
public:
    MemoryCeiling() = default;
    explicit MemoryCeiling(int figure)
        : m_figure(figure)
    { }

    [[nodiscard]] int figure() const { return m_figure; }
    [[nodiscard]] bool isSet() const { return m_figure > 0; }
    [[nodiscard]] bool isPercentage() const { return isSet() && m_figure < firstSize; }
    /// In kB of a terminal that has `totalMemory` kB; 0 without a limit.
    [[nodiscard]] qint64 size(qint64 totalMemory) const;
    /// Whether `used` kB are too much. A percentage is compared in whole per cent, and never exceeded without a total.
    [[nodiscard]] bool isExceeded(qint64 used, qint64 totalMemory) const;

    /// `used` of `total` in whole per cent, rounded down; -1 when there is no total.
    [[nodiscard]] static qint64 percentage(qint64 used, qint64 total);

private:
    static constexpr int firstSize = 100;

    int m_figure = 0;
};

#endif
