#include "client/NearMiss.h"

#include "client/Console.h"

#include <QStringView>
#include <QVarLengthArray>

#include <cstdlib>

namespace {

constexpr int longestWord = 64; // the time to compare grows with the square of the length
constexpr int shortestPart = 3;
constexpr int mostSuggestions = 3;

int tolerance(int length)
{
    return length <= 2 ? 0 : length <= 5 ? 1 : 2;
}

// Optimal string alignment: characters that were swapped are not edited again.
int editDistance(QStringView left, QStringView right)
{
    const int width = int(right.size()) + 1;
    QVarLengthArray<int> table((int(left.size()) + 1) * width);
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
    return cell(int(left.size()), width - 1);
}

// Characters that are equal at both ends add nothing, and often nothing else is left.
int distance(const QString &left, const QString &right)
{
    const int shorter = qMin(left.size(), right.size());
    int head = 0;
    while (head < shorter && left.at(head) == right.at(head)) {
        ++head;
    }
    int tail = 0;
    while (tail < shorter - head && left.at(left.size() - 1 - tail) == right.at(right.size() - 1 - tail)) {
        ++tail;
    }
    const auto inside = [&](const QString &text) { return QStringView(text).mid(head, text.size() - head - tail); };
    return editDistance(inside(left), inside(right));
}

} // namespace

QStringList nearMisses(const QString &word, const QStringList &names)
{
    const QString lower = word.trimmed().toLower();
    int least = lower.size() > longestWord ? -1 : tolerance(lower.size());
    QStringList nearest;
    for (const QString &name : names) {
        const bool isCandidate = name != word && std::abs(name.size() - lower.size()) <= least;
        const int apart = isCandidate ? distance(lower, name.toLower()) : least + 1;
        if (apart < least) {
            nearest.clear();
        }
        if (apart <= least) {
            least = apart;
            nearest << name;
        }
    }
    return nearest;
}

QString spellingHint(const QString &word, const QStringList &names)
{
    const QStringList misses = nearMisses(word, names);
    return misses.isEmpty() ? QString() : QStringLiteral(" (did you mean '%1'?)").arg(misses.first());
}

QString didYouMean(const QString &typed, const QStringList &names, const QString &otherwise)
{
    QStringList meant = nearMisses(typed, names);
    for (const QString &name : names) {
        const bool isPart = qMin(typed.size(), name.size()) >= shortestPart
            && (name.contains(typed, Qt::CaseInsensitive) || typed.contains(name, Qt::CaseInsensitive));
        if (isPart && !meant.contains(name)) {
            meant << name;
        }
    }
    meant = meant.mid(0, mostSuggestions);
    return meant.isEmpty()
        ? otherwise
        : QStringLiteral("Did you mean %1?").arg(Console::printable(meant.join(QStringLiteral(", "))));
}
