#ifndef SPELLING_H
#define SPELLING_H

#include <QStringList>

namespace Spelling {

/// The one of `known` that `word` was probably meant to be: the nearest by insertions, deletions, replacements and
/// swaps, in any case of letters. Empty when none is near enough.
[[nodiscard]] QString nearest(const QString &word, const QStringList &known);

/// " (did you mean 'NEAREST'?)", or nothing.
[[nodiscard]] QString hint(const QString &word, const QStringList &known);

} // namespace Spelling

#endif
