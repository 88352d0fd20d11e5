#include "catalogue/XmlFile.h"

#include "catalogue/XmlMarkup.h"

#include <QFile>
#include <QXmlStreamReader>

#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

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

XmlFile unreadable(int error)
{
    const bool missing = error == ENOENT || error == ENOTDIR;
    return failure(missing ? XmlFile::Result::Missing : XmlFile::Result::NotReadable, qt_error_string(error));
}

// The bytes of a regular file; false with `error` set when there is none to be had.
bool readBytes(const QString &path, QByteArray &bytes, int &error)
{
    // Without O_NONBLOCK, opening a pipe that nobody writes to would wait for ever.
    const int descriptor = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (descriptor < 0) {
        error = errno;
        return false;
    }
    struct stat status = {};
    QFile file;
    bool done = false;
    if (::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode)
        && file.open(descriptor, QIODevice::ReadOnly | QIODevice::Unbuffered)) {
        bytes = file.read(qMin<qint64>(status.st_size, maxFileSize) + 1);
        done = file.error() == QFileDevice::NoError;
    }
    ::close(descriptor);
    error = EINVAL;
    return done;
}

// The limit for one reference that keeps all references of the file below the limit for the whole.
int expansionLimit(int fileSize)
{
    return qMin(maxReferenceSize, maxExpandedSize / (fileSize / shortestReference + 1));
}

} // namespace

XmlFile readXmlFile(const QString &path)
{
    QByteArray bytes;
    int error = 0;
    if (!readBytes(path, bytes, error)) {
        return unreadable(error);
    }
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
