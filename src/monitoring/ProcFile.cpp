#include "monitoring/ProcFile.h"

#include "system/RegularFile.h"

#include <QList>

namespace {

ProcFile::Result failure(const QByteArray &path)
{
    return ::access(path.constData(), F_OK) == 0 ? ProcFile::Result::NotReadable : ProcFile::Result::Missing;
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
    for (int i = 0; i < components.size() - 1 && place.isOpen(); ++i) {
        if (!components.at(i).isEmpty()) {
            place.reset(
                ::openat(place.number(), components.at(i).constData(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
        }
    }
    if (!place.isOpen()) {
        return failure(path);
    }
    const QByteArray name = components.last().isEmpty() ? QByteArray(".") : components.last();
    RegularFile opened(place.number(), name, O_NOFOLLOW);
    if (opened.result() != RegularFile::Result::Ok) {
        return failure(path);
    }
    qint64 size = 0;
    const bool done = opened.read(maxSize + 1, [&](const char *data, std::size_t count) {
        size += qint64(count);
        sink(data, count);
    });
    return done && size <= maxSize ? Result::Ok : Result::NotReadable;
}
