#ifndef BUS_READER_H
#define BUS_READER_H

#include <QVariant>

struct DBusMessage;

namespace BusReader {

/// The arguments as plain values: a variant comes as what is in it, a path or a signature as a text, a descriptor as an
/// invalid value.
[[nodiscard]] QVariantList read(DBusMessage *message);

} // namespace BusReader

#endif
