#ifndef TEXT_WIDTH_H
#define TEXT_WIDTH_H

#include <QString>

/// The number of terminal cells that the text fills: combining marks fill none, East Asian characters and emoji two.
[[nodiscard]] int textWidth(const QString &text);

/// The text; if it fills more than `width` cells, its end is replaced by "…", or "..." where
/// the terminal has no UTF-8.
[[nodiscard]] QString shortened(const QString &text, int width);

#endif
