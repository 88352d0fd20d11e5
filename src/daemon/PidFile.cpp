#include "daemon/PidFile.h"

#include <jov/Log.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr int attempts = 100; // against processes that begin at the same time
constexpr mode_t permissions = S_IRUSR | S_IWUSR | S_IRGRP | S_IROTH;

bool tryLock(int file)
{
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    return fcntl(file, F_SETLK, &lock) == 0;
}

bool isNamed(int file, const char *path)
{
    struct stat opened = {};
    struct stat named = {};
    return fstat(file, &opened) == 0 && stat(path, &named) == 0 && opened.st_ino == named.st_ino
        && opened.st_dev == named.st_dev;
}

void report(const char *what, int error)
{
    std::printf("PID %s error  : %s", what, std::strerror(error));
    std::fflush(stdout);
}

} // namespace

PidFile::Lock PidFile::lockExisting(const char *path)
{
    m_file.reset();
    struct stat status = {};
    // To open what is not a regular file can block or have an effect, and nobody locks it.
    if (stat(path, &status) != 0 || !S_ISREG(status.st_mode)) {
        return Lock::Taken;
    }
    m_file.reset(open(path, O_RDWR | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (!m_file.isOpen()) {
        return errno == ENOENT ? Lock::Lost : Lock::Failed;
    }
    if (!tryLock(m_file.number())) {
        return errno == EACCES || errno == EAGAIN ? Lock::Held : Lock::Failed;
    }
    return isNamed(m_file.number(), path) ? Lock::Taken : Lock::Lost;
}

PidFile::Lock PidFile::replace(const char *path)
{
    struct stat status = {};
    const bool exists = m_file.isOpen() || (lstat(path, &status) == 0 && !S_ISREG(status.st_mode));
    if (exists && unlink(path) != 0) {
        return m_file.isOpen() && ftruncate(m_file.number(), 0) == 0 ? Lock::Taken : Lock::Failed;
    }
    // Until the new file is locked the old one stays so: its other users must not remove the new one.
    const int file = open(path, O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, permissions);
    if (file < 0) {
        return errno == EEXIST ? Lock::Lost : Lock::Failed;
    }
    const bool locked = tryLock(file) && isNamed(file, path);
    m_file.reset(file);
    return locked ? Lock::Taken : Lock::Lost;
}

bool PidFile::write(const std::string &path)
{
    const char *name = path.c_str();
    Lock lock = Lock::Lost;
    for (int i = 0; i < attempts && lock == Lock::Lost; ++i) {
        lock = lockExisting(name);
        if (lock == Lock::Taken) {
            lock = replace(name);
        }
    }
    if (lock == Lock::Held || lock == Lock::Lost) {
        Log::error("PID file %1: another supervisor holds it: stop that one first", name);
        m_file.reset();
        return false;
    }
    if (lock == Lock::Failed) {
        report("opening", errno);
        return true;
    }
    const std::string pid = std::to_string(getpid());
    std::printf("PID  : %s", pid.c_str());
    std::fflush(stdout);
    const std::string text = pid + '\n';
    const ssize_t written = ::write(m_file.number(), text.data(), text.size());
    if (written != ssize_t(text.size()) || fchmod(m_file.number(), permissions) != 0) {
        const int error = written >= 0 && written < ssize_t(text.size()) ? ENOSPC : errno;
        Log::error("PID file %1 cannot be written: %2", name, qt_error_string(error));
        report("writing", error);
        unlink(name);
    }
    return true;
}
