#ifndef PROGRAM_FILE_H
#define PROGRAM_FILE_H

#include <QString>

/// A file in the module directory.
struct ProgramFile
{
    enum class Kind {
        Missing, ///< a broken link
        Special, ///< a FIFO, socket or device
        Unreadable,
        Elf,
        Script, ///< begins with "#!"
        Other
    };

    Kind kind = Kind::Missing;
    bool executable = false; ///< any of its execute bits is set
    QString architecture; ///< of an ELF file: "ARM, 32 bit"
    bool loadable = false; ///< the ELF file is a program or a shared object, not an object or core file
};

/// Reads only the first bytes of the file, without blocking. An absolute link is followed inside `root` first, as it
/// will be on the terminal.
[[nodiscard]] ProgramFile readProgramFile(const QString &path, const QString &root);

#endif
