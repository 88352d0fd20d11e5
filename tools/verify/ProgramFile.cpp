#include "verify/ProgramFile.h"

#include "system/RegularFile.h"

#include <QFile>
#include <QFileInfo>
#include <QHash>

#include <elf.h>

namespace {

constexpr int typeOffset = EI_NIDENT; // e_type and e_machine have the same offsets in both classes
constexpr int machineOffset = EI_NIDENT + 2;
constexpr int headerSize = EI_NIDENT + 4;

QString machineName(int machine)
{
    static const QHash<int, QString> names{
        {EM_386, QStringLiteral("x86")},          {EM_X86_64, QStringLiteral("x86-64")},
        {EM_ARM, QStringLiteral("ARM")},          {EM_AARCH64, QStringLiteral("AArch64")},
        {EM_MIPS, QStringLiteral("MIPS")},        {EM_PPC, QStringLiteral("PowerPC")},
        {EM_PPC64, QStringLiteral("PowerPC 64")}, {EM_RISCV, QStringLiteral("RISC-V")}};
    return names.value(machine, QStringLiteral("machine %1").arg(machine));
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
