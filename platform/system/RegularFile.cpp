#include "system/RegularFile.h"

#include <QFile>

#include <array>
#include <cerrno>

namespace {

constexpr std::size_t pieceSize = std::size_t(16) * 1024; // on the stack

} // namespace

RegularFile::RegularFile(const QString &path)
    : RegularFile(AT_FDCWD, QFile::encodeName(path))
{ }

RegularFile::RegularFile(int directory, const QByteArray &name, int flags)
    : m_result(open(directory, name, flags))
{ }

RegularFile::Result RegularFile::open(int directory, const QByteArray &name, int flags)
{
    // Before the file is opened, because opening a device can have an effect: /dev/watchdog is armed by it.
    const int link = (flags & O_NOFOLLOW) != 0 ? AT_SYMLINK_NOFOLLOW : 0;
    if (::fstatat(directory, name.constData(), &m_status, link) != 0) {
        m_error = errno;
        return m_error == ENOENT || m_error == ENOTDIR ? Result::Missing : Result::NotReadable;
    }
    m_error = EINVAL;
    if (!S_ISREG(m_status.st_mode)) {
        return Result::NotRegular;
    }
    m_descriptor.reset(::openat(directory, name.constData(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC | flags));
    if (!m_descriptor.isOpen()) {
        m_error = errno;
        return m_error == ENOENT ? Result::Missing : Result::NotReadable;
    }
    // It may have been replaced since.
    if (::fstat(m_descriptor.number(), &m_status) != 0 || !S_ISREG(m_status.st_mode)) {
        m_descriptor.reset();
        return Result::NotRegular;
    }
    return Result::Ok;
}

bool RegularFile::read(qint64 most, const Sink &sink)
{
    std::array<char, pieceSize> piece; // NOLINT(cppcoreguidelines-pro-type-member-init): filled by read
    for (qint64 rest = most; m_result == Result::Ok && rest > 0;) {
        const ssize_t count = ::read(m_descriptor.number(), piece.data(), std::min(pieceSize, std::size_t(rest)));
        if (count > 0) {
            sink(piece.data(), std::size_t(count));
            rest -= count;
        } else if (count == 0) {
            break;
        } else if (errno != EINTR) {
            m_error = errno;
            m_result = Result::NotReadable;
        }
    }
    return m_result == Result::Ok;
}

std::optional<QByteArray> RegularFile::read(qint64 most)
{
    QByteArray text;
    const bool done = read(most, [&text](const char *data, std::size_t size) { text.append(data, int(size)); });
    return done ? std::optional<QByteArray>(text) : std::nullopt;
}
