#ifndef FILE_NAMES_H
#define FILE_NAMES_H

#include "contract/Latin1.h"

/// What is written in the files that integrators write, and that the daemon and `jovctl verify` read.

/// `config.xml` of a module: elements, and the attributes of `ceiling` and `early`.
namespace ConfigXml {

inline constexpr QLatin1String root = latin1("config");
inline constexpr QLatin1String description = latin1("description");
inline constexpr QLatin1String initStep = latin1("initStep");
inline constexpr QLatin1String maxMemory = latin1("maxMemory");
inline constexpr QLatin1String ceiling = latin1("DDRSz");
inline constexpr QLatin1String criteria = latin1("criteria");
inline constexpr QLatin1String dependencies = latin1("dependencies");
inline constexpr QLatin1String dependency = latin1("dependency");
inline constexpr QLatin1String early = latin1("early");
inline constexpr QLatin1String after = latin1("after");
inline constexpr QLatin1String extraArguments = latin1("extra_args");
inline constexpr QLatin1String argument = latin1("arg");

} // namespace ConfigXml

/// `initStep.xml`: elements, and the attributes of `step`.
namespace StepsXml {

inline constexpr QLatin1String root = latin1("initStep");
inline constexpr QLatin1String step = latin1("step");
inline constexpr QLatin1String name = latin1("name");
inline constexpr QLatin1String value = latin1("value");
inline constexpr QLatin1String showHomepage = latin1("show_homepage");
inline constexpr QLatin1String parallel = latin1("parallel"); ///< of the root, too

} // namespace StepsXml

/// The section `[platform]` of `platform.ini`.
namespace PlatformKey {

inline constexpr QLatin1String memorySize = latin1("FAB_HW_DDRSIZE"); ///< compared as text with ConfigXml::criteria
inline constexpr QLatin1String defaultMemorySize = latin1("256MB");

} // namespace PlatformKey

#endif
