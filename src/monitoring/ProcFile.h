#ifndef PROC_FILE_H
#define PROC_FILE_H

#include "system/RegularFile.h"

/**
 * Reads a file whose name comes from anybody on the bus, below a directory that does not.
 *
 * `/proc` of a process leads everywhere (`root`, `cwd`, `fd`), holds files without an end and pipes that would block.
 * So only a regular file is read, reached without ".." and without a link, and no more than maxSize of it.
 */
namespace ProcFile {

enum class Result { Ok, Missing, NotReadable };

constexpr qint64 maxSize = qint64(64) * 1024 * 1024;

using Sink = RegularFile::Sink;

/// Hands `directory`/`file` to `sink`. What the sink has got counts only when the result is Ok.
[[nodiscard]] Result read(const QByteArray &directory, const QByteArray &file, const Sink &sink);

} // namespace ProcFile

#endif
