#ifndef LIBRARY_SEARCH_H
#define LIBRARY_SEARCH_H

#include "verify/ElfFile.h"

#include <QHash>

/**
 * Finds the shared libraries of programs as the dynamic loader of the terminal would, without running it: the search
 * paths in the files, the loader's cache, and the folders that are built into the loader. Variables such as
 * LD_LIBRARY_PATH are not known here.
 */
class LibrarySearch
{
public:
    struct Result
    {
        QByteArray missing; ///< the first library that is missing; empty for none
        QByteArray neededBy; ///< the library that needs it; empty for the program itself
        QString reason; ///< if there is a file of that name: why it is not used
    };

    /// `path` is the real path of the program.
    [[nodiscard]] Result search(const QByteArray &path, const ElfFile &program);

private:
    struct Library
    {
        QByteArray path; ///< empty: there is no such file
        ElfFile elf;
    };
    struct Object;

    const Library &libraryAt(const QByteArray &path);
    const Library *find(const QByteArray &name, const Object &object, const ElfFile &program, QString &reason);
    const Library *firstOf(const QByteArrayList &paths, const ElfFile &program, QString &reason);
    [[nodiscard]] static QByteArrayList ofProcessors(const QByteArray &folder, const QByteArray &name);
    QByteArray libOf(const QByteArray &loader);
    const QByteArrayList &defaultFolders(const QByteArray &loader);
    QByteArrayList inCache(const QByteArray &name);
    [[nodiscard]] static QByteArrayList configuredFolders(const QByteArray &file, int depth = 0);

    QHash<QByteArray, Library> m_libraries;
    QHash<QByteArray, QByteArrayList> m_defaultFolders; ///< by loader
    QByteArray m_cache;
    bool m_cacheIsRead = false;
};

#endif
