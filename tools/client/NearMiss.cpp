#include "NearMiss.h"

#include <QMultiMap>
#include <QVector>

#include <numeric>

namespace {

constexpr int mostSuggestions = 3;
/// Longer names are compared up to here: the distance costs the product of both lengths.
constexpr int longestCompared = 64;

/// How many characters must be put in, left out or replaced to make one of the other.
int distance(const QString &left, const QString &right)
{
    QVector<int> row(right.size() + 1);
    std::iota(row.begin(), row.end(), 0);
    for (int i = 0; i < left.size(); ++i) {
        int diagonal = row[0];
        row[0] = i + 1;
        for (int j = 0; j < right.size(); ++j) {
            const int replaced = diagonal + (left.at(i) == right.at(j) ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = qMin(replaced, 1 + qMin(row[j], row[j + 1]));
        }
    }
    return row.last();
}

} // namespace

QStringList nearMisses(const QString &name, const QStringList &names)
{
    const QString wanted = name.left(longestCompared).toCaseFolded();
    QMultiMap<int, QString> byDistance;
    for (const QString &candidate : names) {
        const QString folded = candidate.left(longestCompared).toCaseFolded();
        const int apart = distance(wanted, folded);
        if (apart <= qMax(1, wanted.size() / 3)) {
            byDistance.insert(apart, candidate);
        } else if (qMin(wanted.size(), folded.size()) >= 3 && (folded.contains(wanted) || wanted.contains(folded))) {
            byDistance.insert(longestCompared, candidate);
        }
    }
    return QStringList(byDistance.values()).mid(0, mostSuggestions);
}
