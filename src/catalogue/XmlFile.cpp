#include "catalogue/XmlFile.h"

#include "catalogue/XmlMarkup.h"
#include "system/RegularFile.h"

#include <QXmlStreamReader>

namespace {

constexpr qint64 maxFileSize = qint64(1024) * 1024;
constexpr int maxDepth = 256;
constexpr int maxExpandedSize = 4 * 1024 * 1024; // characters that all entity references together may become
constexpr int shortestReference = 3; // "&a;"
constexpr int maxReferenceSize = 4096;

XmlFile failure(XmlFile::Result result, const QString &error, int line = 0)
{
    XmlFile file;
    file.result = result;
    file.error = error;
    file.line = line;
    return file;
}

// The limit for one reference that keeps all references of the file below the limit for the whole.
int expansionLimit(int fileSize)
{
    return qMin(maxReferenceSize, maxExpandedSize / (fileSize / shortestReference + 1));
}

} // namespace

XmlFile readXmlFile(const QString &path)
{
    RegularFile opened(path);
    const std::optional<QByteArray> text = opened.read(maxFileSize + 1);
    if (!text) {
        const bool missing = opened.result() == RegularFile::Result::Missing;
        return failure(missing ? XmlFile::Result::Missing : XmlFile::Result::NotReadable, opened.errorText());
    }
    const QByteArray &bytes = *text;
    if (bytes.size() > maxFileSize) {
        return failure(XmlFile::Result::NotParsable, QStringLiteral("the file is larger than 1 MiB"));
    }
    const QString excess = xmlMarkupExcess(bytes);
    if (!excess.isEmpty()) {
        return failure(XmlFile::Result::NotParsable, excess);
    }
    QXmlStreamReader reader(bytes);
    reader.setNamespaceProcessing(false);
    reader.setEntityExpansionLimit(expansionLimit(bytes.size()));
    XmlFile file;
    file.document.read(reader, maxDepth);
    if (reader.hasError()) {
        return failure(XmlFile::Result::NotParsable, reader.errorString(), int(reader.lineNumber()));
    }
    file.result = XmlFile::Result::Ok;
    return file;
}
