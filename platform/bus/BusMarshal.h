#ifndef BUS_MARSHAL_H
#define BUS_MARSHAL_H

#include <QVariant>

struct DBusMessage;

/// Values into the messages of libdbus, and out of them.
namespace BusMarshal {

/// The value must be able to travel (BusTypes::canTravel).
void append(DBusMessage *message, const QVariant &value);

/// Plain values: a variant comes as what is in it, a path or a signature as a text, a descriptor as an invalid value.
[[nodiscard]] QVariantList read(DBusMessage *message);

} // namespace BusMarshal

#endif
