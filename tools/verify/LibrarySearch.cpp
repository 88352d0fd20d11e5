#include "verify/LibrarySearch.h"

#include "catalogue/ModulePaths.h"
#include "system/RegularFile.h"
#include "verify/RootFile.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QSet>

#include <utility>
#include <vector>

namespace {

constexpr qint64 largestCache = 16 << 20;
constexpr int deepestInclude = 8;

/// What the loader knows processors by. Which one the terminal has is not known here.
constexpr const char *processors[] = {"tls", "haswell", "xeon_phi", "x86_64", "aarch64", "v7l", "v8l", "neon", "vfp"};

QByteArray contentOf(const QByteArray &path)
{
    const RootFile file(path);
    return file.isRegular() ? RegularFile(file.openName()).read(largestCache).value_or(QByteArray()) : QByteArray();
}

QByteArray folderOf(const QByteArray &path)
{
    return path.left(path.lastIndexOf('/'));
}

} // namespace

/// A program or library that needs others.
struct LibrarySearch::Object
{
    QByteArray path;
    const ElfFile *elf;
    /// Those of the objects that needed it, each with its own place.
    QByteArrayList inherited;

    /// Relative paths, also an empty one, begin in the directory in which the daemon starts modules.
    [[nodiscard]] QByteArrayList resolved(const QByteArrayList &folders, const QByteArray &lib) const
    {
        QByteArrayList list;
        for (QByteArray folder : folders) {
            const QByteArray origin = folderOf(path);
            folder.replace("${ORIGIN}", origin).replace("$ORIGIN", origin);
            folder.replace("${LIB}", lib).replace("$LIB", lib).replace("${PLATFORM}", "$PLATFORM");
            folder = folder.startsWith('/') ? folder : ModulePaths::moduleDirectory().toUtf8() + folder;
            if (!folder.contains("$PLATFORM")) {
                list.append(folder);
                continue;
            }
            for (const char *processor : processors) {
                list.append(QByteArray(folder).replace("$PLATFORM", processor));
            }
        }
        return folders == QByteArrayList{QByteArray()} ? QByteArrayList() : list;
    }
};

LibrarySearch::Result LibrarySearch::search(const QByteArray &path, const ElfFile &program)
{
    QSet<QByteArray> seen{program.loader.mid(program.loader.lastIndexOf('/') + 1)};
    std::vector<Object> objects{{path, &program, {}}};
    for (std::size_t i = 0; i < objects.size(); ++i) {
        const Object object = objects[i];
        for (const QByteArray &name : object.elf->needed) {
            if (seen.contains(name)) {
                continue;
            }
            seen.insert(name);
            Result result{name, i == 0 ? QByteArray() : object.path, QString()};
            const Library *library = find(name, object, program, result.reason);
            if (!library || !library->elf.libraryFault.isEmpty()) {
                result.reason = library ? library->elf.libraryFault : result.reason;
                return result;
            }
            seen.insert(library->elf.soname);
            objects.push_back({library->path, &library->elf,
                               object.inherited + object.resolved(object.elf->rpath, libOf(program.loader))});
        }
    }
    return {};
}

const LibrarySearch::Library *LibrarySearch::find(const QByteArray &name, const Object &object, const ElfFile &program,
                                                  QString &reason)
{
    const QByteArray lib = libOf(program.loader);
    if (name.contains('/')) {
        return firstOf(object.resolved({name}, lib), program, reason);
    }
    QByteArrayList folders = object.elf->runpath.isEmpty() ? object.resolved(object.elf->rpath, lib) + object.inherited
                                                           : object.resolved(object.elf->runpath, lib);
    QByteArrayList paths;
    for (const QByteArray &folder : qAsConst(folders)) {
        paths << folder + '/' + name;
    }
    paths += inCache(name);
    folders += defaultFolders(program.loader);
    for (const QByteArray &folder : defaultFolders(program.loader)) {
        paths << folder + '/' + name;
    }
    const Library *library = firstOf(paths, program, reason);
    for (auto folder = folders.cbegin(); !library && folder != folders.cend(); ++folder) {
        library = firstOf(ofProcessors(*folder, name), program, reason);
    }
    if (library) {
        return library;
    }
    for (const QByteArray &folder : configuredFolders("/etc/ld.so.conf")) {
        if (reason.isEmpty() && RootFile(folder + '/' + name).isRegular()) {
            reason =
                QStringLiteral("it is in %1, but not in /etc/ld.so.cache: run ldconfig").arg(QString::fromUtf8(folder));
        }
    }
    return nullptr;
}

const LibrarySearch::Library *LibrarySearch::firstOf(const QByteArrayList &paths, const ElfFile &program,
                                                     QString &reason)
{
    for (const QByteArray &path : paths) {
        const Library &library = libraryAt(path);
        if (library.path.isEmpty()) {
            continue;
        }
        // The loader goes on after a library for another machine, but not after a damaged one.
        if (library.elf.architecture.isEmpty() || library.elf.architecture == program.architecture) {
            return &library;
        }
        reason = QStringLiteral("%1 is built for %2").arg(QString::fromUtf8(library.path), library.elf.architecture);
    }
    return nullptr;
}

// Where the loader looks first if the processor has what the folder is named after.
QByteArrayList LibrarySearch::ofProcessors(const QByteArray &folder, const QByteArray &name)
{
    QByteArrayList paths;
    const QStringList entries = RootFile(folder + "/glibc-hwcaps").entries();
    for (const QString &entry : entries) {
        paths << folder + "/glibc-hwcaps/" + entry.toUtf8() + '/' + name;
    }
    for (const char *processor : processors) { // until glibc 2.36
        paths << folder + '/' + processor + '/' + name;
    }
    return paths;
}

const LibrarySearch::Library &LibrarySearch::libraryAt(const QByteArray &path)
{
    const auto known = m_libraries.constFind(path);
    if (known != m_libraries.constEnd()) {
        return *known;
    }
    const RootFile found(path);
    Library library;
    if (found.isRegular()) {
        library.path = found.realPath();
        QFile file(found.openName());
        if (file.open(QIODevice::ReadOnly) && file.peek(4) == "\177ELF") {
            library.elf = ElfFile::read(file);
        } else if (file.isOpen()) {
            library.elf.libraryFault = QStringLiteral("%1 is no ELF file").arg(QString::fromUtf8(library.path));
        }
    }
    return *m_libraries.insert(path, library);
}

// "lib" or, for example, "lib/arm-linux-gnueabihf".
QByteArray LibrarySearch::libOf(const QByteArray &loader)
{
    const QByteArray folder = defaultFolders(loader).first();
    return folder.mid(1, folder.size() - (folder.endsWith('/') ? 2 : 1));
}

// The loader has them as a list of texts.
const QByteArrayList &LibrarySearch::defaultFolders(const QByteArray &loader)
{
    const auto known = m_defaultFolders.constFind(loader);
    if (known != m_defaultFolders.constEnd()) {
        return *known;
    }
    QByteArrayList folders;
    if (loader.contains("ld-musl")) {
        folders = QByteArrayList{"/lib", "/usr/local/lib", "/usr/lib"};
    } else {
        static const QRegularExpression builtIn(QStringLiteral("(?<=\\0)/(?:[\\w.+-]+/)+(?=\\0)"));
        const QByteArray content = contentOf(loader);
        const QString text = QString::fromLatin1(content.constData(), content.size()); // a character for each byte
        for (auto match = builtIn.globalMatch(text); match.hasNext();) {
            folders << match.next().captured().toLatin1();
        }
    }
    folders += folders.isEmpty() ? QByteArrayList{"/lib", "/usr/lib", "/lib64", "/usr/lib64"} : QByteArrayList();
    return *m_defaultFolders.insert(loader, folders);
}

// Names and paths are in one table of texts. Machines that run programs of two kinds have a name more than once.
QByteArrayList LibrarySearch::inCache(const QByteArray &name)
{
    if (!std::exchange(m_cacheIsRead, true)) {
        m_cache = contentOf("/etc/ld.so.cache");
    }
    QByteArrayList paths;
    const QByteArray end = '/' + name + '\0';
    for (int found = m_cache.indexOf(end); found >= 0; found = m_cache.indexOf(end, found + 1)) {
        paths << m_cache.constData() + m_cache.lastIndexOf('\0', found) + 1;
    }
    return paths;
}

QByteArrayList LibrarySearch::configuredFolders(const QByteArray &file, int depth)
{
    QByteArrayList folders;
    for (QByteArray line : depth > deepestInclude ? QByteArrayList() : contentOf(file).split('\n')) {
        line = line.left(line.contains('#') ? line.indexOf('#') : line.size()).trimmed();
        if (line.startsWith("include ")) {
            const QByteArray pattern = line.mid(8).trimmed();
            const QString folder =
                QString::fromUtf8(pattern.startsWith('/') ? folderOf(pattern) : "/etc/" + folderOf(pattern));
            const QStringList names = RootFile(folder).entries();
            for (const QString &name : names) {
                if (QDir::match(QString::fromUtf8(pattern.mid(pattern.lastIndexOf('/') + 1)), name)) {
                    folders += configuredFolders(QFile::encodeName(folder + QLatin1Char('/') + name), depth + 1);
                }
            }
        } else if (line.startsWith('/')) {
            folders << line;
        }
    }
    return folders;
}
