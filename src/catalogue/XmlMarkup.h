#ifndef XML_MARKUP_H
#define XML_MARKUP_H

#include <QByteArray>
#include <QString>

/**
 * Looks at a text before the parser does: that compares each attribute of an element with each, and each one that a
 * document type declares, too, which takes half a minute for a file of 1 MiB.
 *
 * Returns what there is too much of, for people; an empty text when there is not.
 */
[[nodiscard]] QString xmlMarkupExcess(const QByteArray &text);

#endif
