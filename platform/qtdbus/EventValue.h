#ifndef EVENT_VALUE_H
#define EVENT_VALUE_H

#include <QVariant>

#include <optional>

class QDBusMessage;

/**
 * Values on their way onto the bus, and off it into a slot.
 *
 * QtDBus 5.15.8 refuses some values that D-Bus cannot carry, but not all: a signature of more than 32 nested arrays or
 * a half-written QDBusArgument ends the process, and a message of more than 64 levels loses the connection. On arrival
 * it leaves what is inside a container as QDBusArgument and QDBusVariant, which QVariant::convert() cannot convert.
 */
namespace EventValue {

/// `value` without anything of QtDBus in it: variants are unwrapped, paths and signatures are texts, containers are
/// QVariantList and QVariantMap (a structure is a list).
[[nodiscard]] QVariant plain(const QVariant &value);

/// `value` as the meta type `type`: as it is, as a type that QtDBus knows under its signature, or by QVariant::convert.
[[nodiscard]] std::optional<QVariant> converted(const QVariant &value, int type);

/// Whether D-Bus can carry all arguments of a message, with all that is inside them. To be called before it is sent.
[[nodiscard]] bool canTravel(const QDBusMessage &message);

} // namespace EventValue

#endif
