#include "monitoring/ProcFile.h"

#include <QList>

#include <array>
#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr std::size_t pieceSize = std::size_t(64) * 1024;

// An open file or directory, closed with its holder.
class Descriptor
{
public:
    explicit Descriptor(int number)
        : m_number(number)
    { }
    ~Descriptor() { reset(-1); }
    Q_DISABLE_COPY(Descriptor)

    [[nodiscard]] int number() const { return m_number; }
    void reset(int number)
    {
        if (m_number >= 0) {
            ::close(m_number);
        }
        m_number = number;
    }

private:
    int m_number;
};

ProcFile::Result failure(const QByteArray &path)
{
    return ::access(path.constData(), F_OK) == 0 ? ProcFile::Result::NotReadable : ProcFile::Result::Missing;
}

bool isRegular(int descriptor)
{
    struct stat status = {};
    return ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
}

ProcFile::Result readAll(int descriptor, const ProcFile::Sink &sink)
{
    std::array<char, pieceSize> piece; // NOLINT(cppcoreguidelines-pro-type-member-init): filled by read
    std::size_t size = 0;
    while (size <= ProcFile::maxSize) {
        const ssize_t count = ::read(descriptor, piece.data(), piece.size());
        if (count == 0) {
            return ProcFile::Result::Ok;
        }
        if (count > 0) {
            sink(piece.data(), std::size_t(count));
            size += std::size_t(count);
        } else if (errno != EINTR) {
            break;
        }
    }
    return ProcFile::Result::NotReadable;
}

} // namespace

ProcFile::Result ProcFile::read(const QByteArray &directory, const QByteArray &file, const Sink &sink)
{
    const QByteArray path = directory + '/' + file;
    const QList<QByteArray> components = file.split('/');
    // A text with a NUL would be opened under the name before it.
    if (components.contains("..") || file.contains('\0')) {
        return failure(path);
    }
    Descriptor place(::open(directory.constData(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    for (int i = 0; i < components.size() - 1 && place.number() >= 0; ++i) {
        if (!components.at(i).isEmpty()) {
            place.reset(
                ::openat(place.number(), components.at(i).constData(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
        }
    }
    if (place.number() < 0) {
        return failure(path);
    }
    const QByteArray name = components.last().isEmpty() ? QByteArray(".") : components.last();
    const Descriptor opened(
        ::openat(place.number(), name.constData(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (opened.number() < 0) {
        return failure(path);
    }
    return isRegular(opened.number()) ? readAll(opened.number(), sink) : Result::NotReadable;
}
