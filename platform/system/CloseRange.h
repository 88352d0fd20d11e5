#ifndef CLOSE_RANGE_H
#define CLOSE_RANGE_H

#include <QtGlobal>

#include <sys/syscall.h>
#include <unistd.h>

/// As CLOSE_RANGE_UNSHARE, which is newer than some headers: the table of descriptors becomes the process's own.
constexpr unsigned unshareTable = 1U << 1;

/// Closes all descriptors from `first` on. False if the kernel, or its headers, are too old for that.
inline bool closeRange(int first, unsigned flags = 0)
{
#ifdef SYS_close_range
    return syscall(SYS_close_range, first, ~0U, flags) == 0;
#else
    Q_UNUSED(first)
    Q_UNUSED(flags)
    return false;
#endif
}

#endif
