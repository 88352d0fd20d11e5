#ifndef REGULAR_FILE_H
#define REGULAR_FILE_H

#include "system/Descriptor.h"

#include <QByteArray>
#include <QString>

#include <functional>
#include <optional>

#include <fcntl.h>
#include <sys/stat.h>

/**
 * A file that somebody else may replace at any time, opened for reading. Only a regular file is opened: a FIFO would
 * block, and a device may act when it is opened.
 */
class RegularFile
{
public:
    enum class Result { Ok, Missing, NotRegular, NotReadable };

    /// Takes the text piece by piece.
    using Sink = std::function<void(const char *data, std::size_t size)>;

    explicit RegularFile(const QString &path);
    /// `flags` of openat(2) in addition to its own: `O_NOFOLLOW` refuses a link.
    RegularFile(int directory, const QByteArray &name, int flags = 0);

    [[nodiscard]] Result result() const { return m_result; }
    /// Why it was not opened or read, for people.
    [[nodiscard]] QString errorText() const { return qt_error_string(m_error); }
    /// 0 if nothing is known about the file.
    [[nodiscard]] mode_t mode() const { return m_status.st_mode; }

    /// A name that leads to the open file, whatever its own name leads to by now: for a library that opens it again.
    [[nodiscard]] QString openName() const { return QStringLiteral("/proc/self/fd/%1").arg(m_descriptor.number()); }

    /// Reads from the beginning of the file to its end, but not more than `most` bytes. Nothing if it is not open or
    /// cannot be read.
    [[nodiscard]] std::optional<QByteArray> read(qint64 most);
    /// The same without keeping the text. False: what the sink has received is not the whole text.
    [[nodiscard]] bool read(qint64 most, const Sink &sink);

private:
    Result open(int directory, const QByteArray &name, int flags);

    Descriptor m_descriptor;
    struct stat m_status = {};
    int m_error = 0;
    Result m_result;
};

#endif
