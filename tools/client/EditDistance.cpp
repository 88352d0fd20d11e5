#include "client/EditDistance.h"

#include <QString>
#include <QVector>

// Optimal string alignment: what was swapped is not edited again.
int editDistance(const QString &left, const QString &right)
{
    const int width = right.size() + 1;
    QVector<int> table((left.size() + 1) * width);
    const auto cell = [&](int row, int column) -> int & { return table[row * width + column]; };
    for (int row = 0; row <= left.size(); ++row) {
        for (int column = 0; column < width; ++column) {
            if (row == 0 || column == 0) {
                cell(row, column) = row + column;
                continue;
            }
            const bool same = left.at(row - 1) == right.at(column - 1);
            int best = qMin(qMin(cell(row - 1, column), cell(row, column - 1)) + 1,
                            cell(row - 1, column - 1) + (same ? 0 : 1));
            if (row > 1 && column > 1 && left.at(row - 1) == right.at(column - 2)
                && left.at(row - 2) == right.at(column - 1)) {
                best = qMin(best, cell(row - 2, column - 2) + 1);
            }
            cell(row, column) = best;
        }
    }
    return cell(left.size(), width - 1);
}
