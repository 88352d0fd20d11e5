#include "client/NearMiss.h"

#include "client/EditDistance.h"

#include <QMultiMap>

namespace {

constexpr int mostSuggestions = 3;
/// Longer names are compared up to here: the distance costs the product of both lengths.
constexpr int longestCompared = 64;

} // namespace

QStringList nearMisses(const QString &name, const QStringList &names)
{
    const QString wanted = name.left(longestCompared).toCaseFolded();
    QMultiMap<int, QString> byDistance;
    for (const QString &candidate : names) {
        const QString folded = candidate.left(longestCompared).toCaseFolded();
        const int apart = editDistance(wanted, folded);
        if (apart <= qMax(1, wanted.size() / 3)) {
            byDistance.insert(apart, candidate);
        } else if (qMin(wanted.size(), folded.size()) >= 3 && (folded.contains(wanted) || wanted.contains(folded))) {
            byDistance.insert(longestCompared, candidate);
        }
    }
    return QStringList(byDistance.values()).mid(0, mostSuggestions);
}
