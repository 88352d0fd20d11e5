#ifndef BUS_NAMES_H
#define BUS_NAMES_H

#include <QString>

/// The names of components, methods and events on the bus.
namespace BusNames {

inline QString methodInterface()
{
    return QStringLiteral("com.velmora.Jovara.JovInterface");
}

inline QString eventInterface()
{
    return QStringLiteral("com.velmora.Jovara.JovEvent");
}

inline QString eventMember()
{
    return QStringLiteral("event");
}

/// `component` as an element of a bus name or an object path: every character outside [A-Za-z0-9_] becomes `_`, and a
/// leading digit gets a `_` before it.
[[nodiscard]] QString element(const QString &component);

[[nodiscard]] inline QString service(const QString &component)
{
    return QStringLiteral("com.velmora.Jovara.") + element(component);
}

[[nodiscard]] inline QString object(const QString &component)
{
    return QLatin1Char('/') + element(component);
}

} // namespace BusNames

#endif
