#ifndef STATISTICS_H
#define STATISTICS_H

#include <QVector>

#include <algorithm>

/// The middle value; of an even number of them the mean of the two in the middle. 0 of none.
[[nodiscard]] inline double median(QVector<double> values)
{
    if (values.isEmpty()) {
        return 0;
    }
    std::sort(values.begin(), values.end());
    const int middle = values.size() / 2;
    return values.size() % 2 ? values.at(middle) : (values.at(middle - 1) + values.at(middle)) / 2;
}

/// What two ways of doing the same took, run in turns.
struct Pairs
{
    QVector<double> ours;
    QVector<double> floor;

    void add(double our, double bare)
    {
        ours.append(our);
        floor.append(bare);
    }

    /// The median of the ratios of neighbours in time: what slows the machine down for a while slows both of a pair.
    [[nodiscard]] double ratio() const
    {
        QVector<double> ratios;
        for (int i = 0; i < ours.size(); ++i) {
            ratios.append(ours.at(i) / floor.at(i));
        }
        return median(ratios);
    }
};

#endif
