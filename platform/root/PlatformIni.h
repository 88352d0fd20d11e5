#ifndef PLATFORM_INI_H
#define PLATFORM_INI_H

#include <QMap>
#include <QString>

/**
 * The platform's INI file, `/etc/JovApplication/platform.ini` under the root prefix, read again at each call.
 *
 * Here and not among the settings because the logger, which stands below them, reads it too. A file that is missing or
 * has a fault() counts as empty.
 */
namespace PlatformIni {

/// With the root prefix in front.
[[nodiscard]] QString path();

/// The keys and values of one section. A value with commas comes back as one text.
[[nodiscard]] QMap<QString, QString> section(const QString &name, const QString &path = PlatformIni::path());

/// Why the file counts as empty, for people: it is no regular file, cannot be opened, is larger than a configuration
/// can be (1 MiB), or holds serialised objects. An empty text when it does not, or is not there.
[[nodiscard]] QString fault(const QString &path = PlatformIni::path());

} // namespace PlatformIni

#endif
