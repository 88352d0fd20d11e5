#ifndef TEXT_H
#define TEXT_H

#include <QString>

/// "..."_s is that text, of UTF-8.
inline QString operator""_s(const char *text, std::size_t size)
{
    return QString::fromUtf8(text, int(size));
}

/// For what the emulator of run-on-arm cannot do.
#ifdef EMULATED
#define SKIP_EMULATED(reason) QSKIP(reason)
#else
#define SKIP_EMULATED(reason)
#endif

#endif
