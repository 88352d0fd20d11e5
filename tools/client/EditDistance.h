#ifndef EDIT_DISTANCE_H
#define EDIT_DISTANCE_H

class QString;

/// How many characters must be put in, left out or replaced, or neighbours swapped, to make one text of the other.
/// Takes time and memory in the product of both lengths.
[[nodiscard]] int editDistance(const QString &left, const QString &right);

#endif
