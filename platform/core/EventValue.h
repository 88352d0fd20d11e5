#ifndef EVENT_VALUE_H
#define EVENT_VALUE_H

#include <QVariant>

#include <optional>

/// Values on their way onto the bus, and off it into a slot.
namespace EventValue {

/// `value` without anything of QtDBus in it: variants are unwrapped, paths and signatures are texts, containers are
/// QVariantList and QVariantMap (a structure is a list).
[[nodiscard]] QVariant plain(const QVariant &value);

/// `value` as the meta type `type`: as it is, as a type that QtDBus knows under its signature, or by QVariant::convert.
[[nodiscard]] std::optional<QVariant> converted(const QVariant &value, int type);

/// Whether D-Bus can carry the value, whatever is inside it. Asked before anything is sent: QtDBus notices an invalid
/// value only halfway into the message, and libdbus then ends the process.
[[nodiscard]] bool canTravel(const QVariant &value);

} // namespace EventValue

#endif
