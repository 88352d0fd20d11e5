#include "verify/RootFile.h"

#include <jov/JovRoot.h>

#include <QFile>

#include <array>
#include <cerrno>
#include <memory>
#include <vector>

#include <dirent.h>
#include <fcntl.h>
#include <limits.h>

namespace {

constexpr int mostLinks = 40; // as in the kernel
constexpr int nameOnly = O_PATH | O_CLOEXEC;

/// The components that are still to be walked, the next one last.
void prepend(QByteArrayList &pending, const QByteArray &path)
{
    const QByteArrayList names = path.split('/');
    for (auto name = names.rbegin(); name != names.rend(); ++name) {
        pending.append(*name);
    }
}

} // namespace

RootFile::RootFile(const QString &path)
    : RootFile(QFile::encodeName(path))
{ }

RootFile::RootFile(const QByteArray &path)
{
    walk(path);
    m_error = m_error == 0 && ::fstat(m_descriptor.number(), &m_status) != 0 ? errno : m_error;
}

void RootFile::walk(const QByteArray &path)
{
    const QByteArray root = QFile::encodeName(JovRoot::prefix() + QLatin1Char('/'));
    std::vector<std::unique_ptr<Descriptor>> way; // the directories below the root, then the file
    const auto open = [&way](int directory, const QByteArray &name, int flags) {
        way.push_back(std::make_unique<Descriptor>(::openat(directory, name.constData(), nameOnly | flags)));
        return way.back()->isOpen();
    };
    QByteArrayList names;
    QByteArrayList pending;
    prepend(pending, path);
    int links = 0;
    m_error = path.size() >= PATH_MAX ? ENAMETOOLONG : open(AT_FDCWD, root, O_DIRECTORY) ? 0 : errno;
    while (m_error == 0 && !pending.isEmpty()) {
        const QByteArray name = pending.takeLast();
        struct stat status = {};
        ::fstat(way.back()->number(), &status);
        if (!S_ISDIR(status.st_mode)) {
            m_error = ENOTDIR;
        } else if (name == ".." && !names.isEmpty()) {
            names.removeLast();
            way.pop_back();
        } else if (name.isEmpty() || name == "." || name == "..") {
            continue;
        } else if (!open(way.back()->number(), name, O_NOFOLLOW)) {
            m_error = errno;
            m_isCreatable = m_error == ENOENT && pending.isEmpty();
        } else if (::fstat(way.back()->number(), &status) == 0 && S_ISLNK(status.st_mode)) {
            std::array<char, PATH_MAX> target = {};
            const ssize_t size = ::readlinkat(way.back()->number(), "", target.data(), target.size() - 1);
            way.pop_back();
            m_isLink = m_isLink || pending.isEmpty();
            m_error = size <= 0 ? ENOENT : ++links > mostLinks ? ELOOP : 0;
            if (target.front() == '/') {
                names.clear();
                way.erase(way.begin() + 1, way.end());
            }
            prepend(pending, target.data());
        } else {
            names.append(name);
        }
    }
    if (m_error == 0) {
        m_descriptor.reset(::fcntl(way.back()->number(), F_DUPFD_CLOEXEC, 0));
        m_realPath = '/' + names.join('/');
    }
}

bool RootFile::isMissing() const
{
    return m_error == ENOENT || m_error == ENOTDIR;
}

QString RootFile::openName() const
{
    return exists() ? QStringLiteral("/proc/self/fd/%1").arg(m_descriptor.number()) : QString();
}

QStringList RootFile::entries() const
{
    QStringList names;
    const int descriptor = ::openat(m_descriptor.number(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    DIR *directory = descriptor < 0 ? nullptr : ::fdopendir(descriptor);
    while (const dirent *entry = directory ? ::readdir(directory) : nullptr) {
        const QString name = QFile::decodeName(entry->d_name);
        if (name != QLatin1String(".") && name != QLatin1String("..")) {
            names << name;
        }
    }
    if (directory) {
        ::closedir(directory);
    }
    names.sort();
    return names;
}
