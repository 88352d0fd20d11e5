#ifndef XML_FILE_H
#define XML_FILE_H

#include "catalogue/XmlDocument.h"

#include <QString>

/**
 * A small XML file, read whole, or the reason why not.
 *
 * Nothing that somebody puts in the place of the file harms the supervisor: a pipe is not waited for, a device is not
 * read, and a text that would need much memory or a deep stack to parse counts as not parsable.
 */
struct XmlFile
{
    enum class Result { Ok, Missing, NotReadable, NotParsable };

    Result result = Result::Missing;
    XmlDocument document; ///< Empty unless result is Ok.
    QString error; ///< What is wrong, for people; empty when Ok.
    int line = 0; ///< Where, for NotParsable; 0 when the file as a whole is meant.
};

/// Reads `path`, which the caller has put under the root prefix.
[[nodiscard]] XmlFile readXmlFile(const QString &path);

#endif
