#ifndef INI_TEXT_H
#define INI_TEXT_H

#include <QByteArray>

/**
 * Whether QSettings would take a value of this text for a serialised object, which is a value that begins with
 * "@Variant(" or "@DateTime(", however it is escaped. QSettings makes such an object while it reads the file, without
 * a check: a few bytes that claim to be a long list make the process ask for more memory than there is, and end it.
 */
[[nodiscard]] bool iniTextHoldsObjects(const QByteArray &text);

#endif
