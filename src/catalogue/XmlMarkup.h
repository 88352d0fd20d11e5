#ifndef XML_MARKUP_H
#define XML_MARKUP_H

#include <QByteArray>
#include <QString>

/**
 * Looks at a text before any parser does: parsers compare each attribute of an element with each, and each declaration
 * of a document type with each, which takes half a minute for a file of 1 MiB.
 *
 * Returns what there is too much of, for people; an empty text when there is not.
 */
[[nodiscard]] QString xmlMarkupExcess(const QByteArray &text);

/**
 * The text with each numeric reference above U+FFFF written as the two halves of its surrogate pair: QDomDocument cuts
 * a reference to 16 bits, and a NUL that it makes so of "&#65536;" ends every text of the bus that the value becomes
 * part of.
 *
 * `text` is well-formed, in an encoding whose markup is that of ASCII; of another one nothing is changed.
 */
[[nodiscard]] QByteArray xmlWithShortReferences(const QByteArray &text);

#endif
