#include "verify/Spelling.h"

#include "client/EditDistance.h"

#include <cstdlib>

namespace {

constexpr int longestWord = 64; // nobody mistypes a longer name by two letters and wonders

int tolerance(int length)
{
    return length <= 2 ? 0 : length <= 5 ? 1 : 2;
}

// What is the same at both ends counts nothing, and most candidates are told from that alone.
int distanceInside(const QString &lower, const QString &candidate)
{
    const int shorter = qMin(lower.size(), candidate.size());
    int head = 0;
    while (head < shorter && lower.at(head) == candidate.at(head).toLower()) {
        ++head;
    }
    int tail = 0;
    while (tail < shorter - head
           && lower.at(lower.size() - 1 - tail) == candidate.at(candidate.size() - 1 - tail).toLower()) {
        ++tail;
    }
    if (head + tail == shorter) {
        return qMax(lower.size(), candidate.size()) - shorter;
    }
    return editDistance(lower.mid(head, lower.size() - head - tail),
                        candidate.mid(head, candidate.size() - head - tail).toLower());
}

} // namespace

QString Spelling::nearest(const QString &word, const QStringList &known)
{
    QString best;
    const QString lower = word.trimmed().toLower();
    if (lower.size() > longestWord) {
        return best;
    }
    int bestDistance = tolerance(lower.size()) + 1;
    for (const QString &candidate : known) {
        if (candidate == word || std::abs(candidate.size() - lower.size()) >= bestDistance) {
            continue;
        }
        const int candidateDistance = distanceInside(lower, candidate);
        if (candidateDistance < bestDistance) {
            bestDistance = candidateDistance;
            best = candidate;
        }
    }
    return best;
}

QString Spelling::hint(const QString &word, const QStringList &known)
{
    const QString meant = nearest(word, known);
    return meant.isEmpty() ? QString() : QStringLiteral(" (did you mean '%1'?)").arg(meant);
}
