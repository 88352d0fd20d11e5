#ifndef BUS_VALUE_H
#define BUS_VALUE_H

#include "FuzzInput.h"

#include <QVariant>

/// Values that a component may be sent, made of an input.
namespace BusValue {

/// Up to 64 kB, and rarely so long.
[[nodiscard]] QString takeText(FuzzInput &input);

/// Plain ones, those of the bus alone, lists and maps of them, structures and arrays of one type; also what cannot
/// travel.
[[nodiscard]] QVariant take(FuzzInput &input);

/// Only what every receiver knows in it, however deep.
[[nodiscard]] bool isPlain(const QVariant &value);

} // namespace BusValue

#endif
