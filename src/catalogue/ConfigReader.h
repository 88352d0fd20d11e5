#ifndef CONFIG_READER_H
#define CONFIG_READER_H

#include "catalogue/ApplicationRecord.h"

#include <QString>

struct XmlFile;

/// The results of readConfig(), as a record's status holds them.
namespace ConfigStatus {
inline const QString ok = QStringLiteral("CONFIG_OK");
inline const QString missing = QStringLiteral("NO_CONFIG_FILE");
inline const QString notReadable = QStringLiteral("CONFIG_FILE_NOT_READABLE");
inline const QString notParsable = QStringLiteral("CONFIG_FILE_NOT_PARSABLE");
} // namespace ConfigStatus

/// The path of the configuration of the application `name`, with the root prefix.
[[nodiscard]] QString configPath(ApplicationType type, const QString &name);

/**
 * Reads the `config.xml` of the record's name and type into the record: Status (one of ConfigStatus), Description, init
 * step, ceiling, dependencies and arguments. Never fails: a field that is not in the file gets its default, and so does
 * every field of a file that cannot be used. Writes no log line; that is the catalogue's.
 *
 * `ddrSize` is the text of the device's memory size ("256MB"), which picks the ceiling.
 */
void readConfig(ApplicationRecord &record, const QString &ddrSize);

/// The same with a file that has been read.
void readConfig(ApplicationRecord &record, const XmlFile &file, const QString &ddrSize);

#endif
