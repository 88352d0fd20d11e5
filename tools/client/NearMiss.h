#ifndef NEAR_MISS_H
#define NEAR_MISS_H

#include <QStringList>

/// The names that are spelt most like `word`: at most two insertions, deletions, replacements or swaps away, fewer for
/// a short word. The case of letters makes no difference.
[[nodiscard]] QStringList nearMisses(const QString &word, const QStringList &names);

/// For a name in a file: " (did you mean 'NEAREST'?)", or nothing.
[[nodiscard]] QString spellingHint(const QString &word, const QStringList &names);

/// For a name on the command line, which may be a part of one: "Did you mean A, B?", or `otherwise`.
[[nodiscard]] QString didYouMean(const QString &typed, const QStringList &names, const QString &otherwise);

#endif
