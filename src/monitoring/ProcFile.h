#ifndef PROC_FILE_H
#define PROC_FILE_H

#include <QByteArray>

#include <cstddef>
#include <functional>

/**
 * Reads a file whose name comes from anybody on the bus, below a directory that does not.
 *
 * `/proc` of a process leads everywhere (`root`, `cwd`, `fd`), holds files without an end and pipes that would block.
 * So only a regular file is read, reached without ".." and without a link, and no more than maxSize of it.
 */
namespace ProcFile {

enum class Result { Ok, Missing, NotReadable };

constexpr std::size_t maxSize = std::size_t(64) * 1024 * 1024;

/// Takes the text piece by piece.
using Sink = std::function<void(const char *data, std::size_t size)>;

/// Hands `directory`/`file` to `sink`. What the sink has got counts only when the result is Ok.
[[nodiscard]] Result read(const QByteArray &directory, const QByteArray &file, const Sink &sink);

} // namespace ProcFile

#endif
