#ifndef NEAR_MISS_H
#define NEAR_MISS_H

#include <QStringList>

/// The names that somebody who typed `name` may have meant, the likeliest first, three at most.
[[nodiscard]] QStringList nearMisses(const QString &name, const QStringList &names);

#endif
