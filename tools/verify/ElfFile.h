#ifndef ELF_FILE_H
#define ELF_FILE_H

#include <QByteArray>
#include <QByteArrayList>
#include <QString>

class QIODevice;

/// What the kernel and the dynamic loader read of a program or a shared library.
struct ElfFile
{
    enum class Kind { Program, Library, Other }; ///< Other: an object or core file

    /// `fault` is not empty if the file cannot be used; then only the architecture may be set.
    [[nodiscard]] static ElfFile read(QIODevice &file);

    QString fault; ///< for people
    QString libraryFault; ///< why the dynamic loader cannot load it as a library
    Kind kind = Kind::Other;
    QString architecture; ///< "ARM, 32 bit"
    bool isDynamic = false; ///< has a section for the dynamic loader
    bool hasLoader = false;
    QByteArray loader; ///< the path of the dynamic loader
    QByteArrayList needed; ///< the libraries
    QByteArrayList rpath; ///< folders, searched first; for what the libraries need, too
    QByteArrayList runpath; ///< folders; if there are any, rpath is not used
    QByteArray soname;
};

#endif
