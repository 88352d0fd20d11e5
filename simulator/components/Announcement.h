#ifndef ANNOUNCEMENT_H
#define ANNOUNCEMENT_H

#include <QLatin1String>

/// The signals by which the stand-ins report to the simulator what they were asked for, on the terminal's bus. Each has
/// two texts: who was asked, and what for.
namespace Announcement {

inline constexpr QLatin1String path("/simulator");
inline constexpr QLatin1String interface("com.velmora.Jovara.Simulator");
inline constexpr QLatin1String rebootRequested("RebootRequested");
inline constexpr QLatin1String pictureShown("PictureShown");

} // namespace Announcement

#endif
