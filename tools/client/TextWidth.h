#ifndef TEXT_WIDTH_H
#define TEXT_WIDTH_H

#include <QString>

/// How many cells of a terminal the text fills: combining marks none, East Asian characters and pictures two.
[[nodiscard]] int textWidth(const QString &text);

/// The text, cut at its end and marked with "…" where it fills more than `width` cells.
[[nodiscard]] QString shortened(const QString &text, int width);

#endif
