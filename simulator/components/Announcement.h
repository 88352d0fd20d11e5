#ifndef ANNOUNCEMENT_H
#define ANNOUNCEMENT_H

#include "contract/Latin1.h"

/// The signals by which the stand-ins report to the simulator what they were asked for, on the terminal's bus. Each has
/// two texts: who was asked, and what for.
namespace Announcement {

inline constexpr QLatin1String path = latin1("/simulator");
inline constexpr QLatin1String interface = latin1("com.velmora.Jovara.Simulator");
inline constexpr QLatin1String rebootRequested = latin1("RebootRequested");
inline constexpr QLatin1String pictureShown = latin1("PictureShown");

} // namespace Announcement

#endif
