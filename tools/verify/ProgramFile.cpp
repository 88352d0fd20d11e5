#include "verify/ProgramFile.h"

#include "system/RegularFile.h"

#include <QFile>
#include <QFileInfo>

#include <elf.h>

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

int half(const QByteArray &header, int offset)
{
    const bool bigEndian = header.at(EI_DATA) == ELFDATA2MSB;
    const uchar low = uchar(header.at(offset + (bigEndian ? 1 : 0)));
    const uchar high = uchar(header.at(offset + (bigEndian ? 0 : 1)));
    return high << 8 | low;
}

void readElf(const QByteArray &header, ProgramFile &program)
{
    program.kind = ProgramFile::Kind::Elf;
    program.architecture = QStringLiteral("%1, %2 bit%3")
                               .arg(machineName(half(header, machineOffset)),
                                    header.at(EI_CLASS) == ELFCLASS64 ? QStringLiteral("64") : QStringLiteral("32"),
                                    header.at(EI_DATA) == ELFDATA2MSB ? QStringLiteral(", big-endian") : QString());
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
    RegularFile file(followed(path, root));
    if (file.mode() == 0) {
        return program;
    }
    if (file.result() == RegularFile::Result::NotRegular) {
        program.kind = ProgramFile::Kind::Special;
        return program;
    }
    program.executable = (file.mode() & (S_IXUSR | S_IXGRP | S_IXOTH)) != 0;
    if (file.result() != RegularFile::Result::Ok) {
        program.kind = ProgramFile::Kind::Unreadable;
        return program;
    }
    const QByteArray header = file.read(headerSize).value_or(QByteArray());
    program.kind = ProgramFile::Kind::Other;
    if (header.size() == headerSize && header.startsWith(ELFMAG)) {
        readElf(header, program);
    } else if (header.size() > 2 && header.startsWith("#!")) {
        program.kind = ProgramFile::Kind::Script;
    }
    return program;
}
