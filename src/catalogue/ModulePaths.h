#ifndef MODULE_PATHS_H
#define MODULE_PATHS_H

#include <jov/JovRoot.h>

#include <QString>

/// Where modules and their configuration are installed. The plain texts are the terminal's; the rooted ones are for
/// opening.
namespace ModulePaths {

/// Every plain file in here is a module and is named after it.
[[nodiscard]] inline QString moduleDirectory()
{
    return QStringLiteral("/usr/lib/JovApplication/");
}

/// Holds a directory for each module.
[[nodiscard]] inline QString configDirectory()
{
    return QStringLiteral("/etc/JovApplication/module/");
}

[[nodiscard]] inline QString webappConfigDirectory()
{
    return QStringLiteral("/etc/JovApplication/webapp/");
}

[[nodiscard]] inline QString rootedModuleDirectory()
{
    return JovRoot::rooted(moduleDirectory());
}

[[nodiscard]] inline QString rootedConfigDirectory()
{
    return JovRoot::rooted(configDirectory());
}

} // namespace ModulePaths

#endif
