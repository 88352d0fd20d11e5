#ifndef PROGRAM_FILE_H
#define PROGRAM_FILE_H

#include <QString>

/// What stands in the module directory under a module's name.
struct ProgramFile
{
    enum class Kind {
        Missing, ///< a link that leads nowhere
        Special, ///< a FIFO, socket or device
        Unreadable,
        Elf,
        Script, ///< begins with "#!"
        Other
    };

    Kind kind = Kind::Missing;
    bool executable = false; ///< somebody may execute it
    QString architecture; ///< of an ELF file: "ARM, 32 bit"
    bool loadable = false; ///< the ELF file is a program or a shared object, not an object or core file
};

/// Reads the file's first bytes and no more; waits for nothing. An absolute link is followed inside `root` first, as it
/// will be on the terminal.
[[nodiscard]] ProgramFile readProgramFile(const QString &path, const QString &root);

#endif
