#include "verify/ProgramFile.h"

#include <QFile>
#include <QFileInfo>

#include <array>

#include <elf.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr int typeOffset = EI_NIDENT; // e_type and e_machine stand at the same place in both classes
constexpr int machineOffset = EI_NIDENT + 2;
constexpr int headerSize = EI_NIDENT + 4;

QString machineName(int machine)
{
    switch (machine) {
    case EM_386:
        return QStringLiteral("x86");
    case EM_X86_64:
        return QStringLiteral("x86-64");
    case EM_ARM:
        return QStringLiteral("ARM");
    case EM_AARCH64:
        return QStringLiteral("AArch64");
    case EM_MIPS:
        return QStringLiteral("MIPS");
    case EM_PPC:
        return QStringLiteral("PowerPC");
    case EM_PPC64:
        return QStringLiteral("PowerPC 64");
    case EM_RISCV:
        return QStringLiteral("RISC-V");
    default:
        return QStringLiteral("machine %1").arg(machine);
    }
}

using Header = std::array<unsigned char, headerSize>;

int half(const Header &header, int offset)
{
    const bool bigEndian = header[EI_DATA] == ELFDATA2MSB;
    const int low = header[size_t(offset) + (bigEndian ? 1 : 0)];
    const int high = header[size_t(offset) + (bigEndian ? 0 : 1)];
    return high << 8 | low;
}

void readElf(const Header &header, ProgramFile &program)
{
    program.kind = ProgramFile::Kind::Elf;
    program.architecture = QStringLiteral("%1, %2 bit%3")
                               .arg(machineName(half(header, machineOffset)),
                                    header[EI_CLASS] == ELFCLASS64 ? QStringLiteral("64") : QStringLiteral("32"),
                                    header[EI_DATA] == ELFDATA2MSB ? QStringLiteral(", big-endian") : QString());
    const int type = half(header, typeOffset);
    program.loadable = type == ET_EXEC || type == ET_DYN;
}

QString followed(const QString &path, const QString &root)
{
    const QString target = QFile::symLinkTarget(path);
    const QString inside = root + target;
    return !target.isEmpty() && QFileInfo::exists(inside) ? inside : path;
}

} // namespace

ProgramFile readProgramFile(const QString &path, const QString &root)
{
    ProgramFile program;
    const QByteArray file = QFile::encodeName(followed(path, root));
    struct stat status = {};
    if (::stat(file.constData(), &status) != 0) {
        return program;
    }
    if (!S_ISREG(status.st_mode)) {
        program.kind = ProgramFile::Kind::Special;
        return program;
    }
    program.executable = (status.st_mode & (S_IXUSR | S_IXGRP | S_IXOTH)) != 0;
    program.kind = ProgramFile::Kind::Unreadable;
    const int descriptor = ::open(file.constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (descriptor < 0) {
        return program;
    }
    Header header{};
    const ssize_t size = ::read(descriptor, header.data(), header.size());
    ::close(descriptor);
    program.kind = ProgramFile::Kind::Other;
    if (size == ssize_t(header.size())
        && QByteArray(reinterpret_cast<const char *>(header.data()), SELFMAG) == ELFMAG) {
        readElf(header, program);
    } else if (size > 2 && header[0] == '#' && header[1] == '!') {
        program.kind = ProgramFile::Kind::Script;
    }
    return program;
}
