#include "history/HistoryRing.h"

#include "contract/HistoryNames.h"
#include "logger/WriteNow.h"
#include "system/Descriptor.h"
#include "system/ReadersGroup.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr mode_t filePermissions = S_IRUSR | S_IWUSR | S_IRGRP;
constexpr mode_t folderPermissions = S_IRWXU | S_IRGRP | S_IXGRP | S_IROTH | S_IXOTH;

/// Opens only a regular file: a FIFO or a device in its place must not block or act.
int openRegular(const char *path, int flags, Descriptor &file, struct stat &status)
{
    file.reset(open(path, flags | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, filePermissions));
    if (!file.isOpen() || fstat(file.number(), &status) != 0) {
        return errno;
    }
    return S_ISREG(status.st_mode) ? 0 : EINVAL;
}

int openForAppending(const HistoryRing &ring, Descriptor &file, struct stat &status)
{
    const int flags = O_RDWR | O_APPEND;
    int error = openRegular(ring.file.constData(), flags, file, status);
    if (error == ENOENT) {
        // The daemon's umask is 0 or that of its caller.
        if (mkdir(ring.folder.constData(), folderPermissions) == 0) {
            chmod(ring.folder.constData(), folderPermissions);
        }
        error = openRegular(ring.file.constData(), flags | O_CREAT, file, status);
        if (error == 0) {
            fchmod(file.number(), filePermissions);
            const int changed = fchown(file.number(), uid_t(-1), readersGroup());
            static_cast<void>(changed); // Only root may.
        }
    }
    return error;
}

bool isTorn(int file, off_t size)
{
    char last = '\n';
    return size > 0 && pread(file, &last, 1, size - 1) == 1 && last != '\n';
}

bool write(const Descriptor &file, const QByteArray &text)
{
    const auto size = std::size_t(text.size());
    return writeAll(file.number(), text.constData(), size) == size;
}

void syncFolder(const HistoryRing &ring)
{
    const Descriptor folder(open(ring.folder.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (folder.isOpen()) {
        fsync(folder.number());
    }
}

bool isTooLarge(const QByteArray &path, off_t most)
{
    struct stat status = {};
    return lstat(path.constData(), &status) == 0 && S_ISREG(status.st_mode) && status.st_size > most;
}

} // namespace

HistoryRing::HistoryRing(const QByteArray &path, off_t size)
    : folder(path.left(std::max(path.lastIndexOf('/'), 1)))
    , file(path)
    , old(path + QByteArray(History::oldSuffix.latin1()))
    , half(size / 2)
{ }

int HistoryRing::append(const QByteArray &line) const
{
    Descriptor descriptor;
    struct stat status = {};
    int error = openForAppending(*this, descriptor, status);
    if (error == 0 && status.st_size > 0 && status.st_size + line.size() + 1 > half) {
        if (rename(file.constData(), old.constData()) != 0) {
            return errno;
        }
        error = openForAppending(*this, descriptor, status);
    }
    if (error != 0) {
        return error;
    }
    // Those of a larger setting.
    if (isTooLarge(old, half)) {
        unlink(old.constData());
    }
    const bool torn = isTorn(descriptor.number(), status.st_size);
    if ((torn && !write(descriptor, "\n")) || !write(descriptor, line)) {
        error = errno;
        // What of the line was written would only take room.
        const int cut = ftruncate(descriptor.number(), status.st_size);
        static_cast<void>(cut);
        return error == 0 ? ENOSPC : error;
    }
    if (fsync(descriptor.number()) != 0) {
        return errno;
    }
    if (status.st_size == 0) {
        syncFolder(*this);
    }
    return 0;
}

int HistoryRing::readTail(QByteArray &text, off_t most) const
{
    Descriptor files[2];
    struct stat status[2] = {};
    const int oldError = openRegular(old.constData(), O_RDONLY, files[0], status[0]);
    const int error = openRegular(file.constData(), O_RDONLY, files[1], status[1]);
    const off_t sizes[2] = {oldError == 0 ? status[0].st_size : 0, error == 0 ? status[1].st_size : 0};
    const off_t first = std::max(sizes[0] - std::max(most - sizes[1], off_t(0)), off_t(0));
    const off_t begins[2] = {first, std::max(sizes[1] - most, off_t(0))};
    for (int i = 0; i < 2; ++i) {
        char piece[4096];
        for (off_t at = begins[i]; at < sizes[i];) {
            const ssize_t count = pread(files[i].number(), piece, sizeof piece, at);
            if (count < 0) {
                return errno;
            }
            if (count == 0) {
                break; // It was cut meanwhile.
            }
            text.append(piece, int(count));
            at += count;
        }
        // A torn end would swallow the first line of the next file.
        if (i == 0 && sizes[0] > 0) {
            text.append('\n');
        }
    }
    return error == ENOENT ? 0 : error;
}
