#ifndef LATIN1_H
#define LATIN1_H

#include <QLatin1String>

#include <cstddef>

/// A constant text. clang rejects QLatin1String("TEXT") in a constant expression, because it calls strlen().
template <std::size_t Size>
[[nodiscard]] constexpr QLatin1String latin1(const char (&text)[Size])
{
    return QLatin1String(text, int(Size) - 1);
}

#endif
