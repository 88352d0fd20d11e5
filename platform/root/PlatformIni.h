#ifndef PLATFORM_INI_H
#define PLATFORM_INI_H

#include <QMap>
#include <QString>

/**
 * The platform's INI file, `/etc/JovApplication/platform.ini` under the root prefix, read anew at each call.
 *
 * Here and not among the settings because the logger, which stands below them, reads it too. A file that is missing or
 * has a fault() counts as empty.
 */
namespace PlatformIni {

/// The keys and values of one section. A value with commas comes back as one text.
[[nodiscard]] QMap<QString, QString> section(const QString &name);

/// Why the file is not read, for people: it is no regular file, cannot be opened, is larger than a configuration can be
/// (1 MiB), or holds serialised objects. Empty when it is read, or is not there. The logger tells it once.
[[nodiscard]] QString fault();

} // namespace PlatformIni

#endif
