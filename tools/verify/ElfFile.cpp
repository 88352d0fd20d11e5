#include "verify/ElfFile.h"

#include <QHash>
#include <QIODevice>
#include <QVector>

#include <algorithm>

#include <elf.h>
#include <limits.h>

namespace {

constexpr quint64 pageSize = 4096; // the smallest one
constexpr quint64 largestDynamic = 1 << 20;
constexpr quint64 largestMemory = quint64(1) << 40; // bytes; no terminal has as many

/// Numbers of either size and byte order.
class Numbers
{
public:
    Numbers() = default;
    Numbers(const QByteArray &bytes, bool wide, bool bigEndian)
        : m_bytes(bytes)
        , m_wide(wide)
        , m_bigEndian(bigEndian)
    { }

    [[nodiscard]] quint64 number(int offset, int size) const
    {
        quint64 value = 0;
        for (int i = 0; i < size; ++i) {
            const int place = offset + (m_bigEndian ? i : size - 1 - i);
            value = value << 8 | (place < m_bytes.size() ? uchar(m_bytes.at(place)) : 0U);
        }
        return value;
    }
    [[nodiscard]] quint64 word(int offset) const { return number(offset, m_wide ? 8 : 4); }
    /// A field by its offset in the structures for 32 and 64 bits, whose size depends on them.
    [[nodiscard]] quint64 word(int narrow, int wide) const { return word(m_wide ? wide : narrow); }
    [[nodiscard]] quint64 half(int narrow, int wide) const { return number(m_wide ? wide : narrow, 2); }

private:
    QByteArray m_bytes;
    bool m_wide = false;
    bool m_bigEndian = false;
};

struct Segment
{
    quint64 type;
    quint64 flags;
    quint64 offset;
    quint64 address;
    quint64 fileSize;
    quint64 memorySize;
};

QString architectureOf(quint64 machine, bool wide, bool bigEndian)
{
    static const QHash<int, QString> names{
        {EM_386, QStringLiteral("x86")},          {EM_X86_64, QStringLiteral("x86-64")},
        {EM_ARM, QStringLiteral("ARM")},          {EM_AARCH64, QStringLiteral("AArch64")},
        {EM_MIPS, QStringLiteral("MIPS")},        {EM_PPC, QStringLiteral("PowerPC")},
        {EM_PPC64, QStringLiteral("PowerPC 64")}, {EM_RISCV, QStringLiteral("RISC-V")}};
    return QStringLiteral("%1, %2 bit%3")
        .arg(names.value(int(machine), QStringLiteral("machine %1").arg(machine)),
             wide ? QStringLiteral("64") : QStringLiteral("32"),
             bigEndian ? QStringLiteral(", big-endian") : QString());
}

class Reader
{
public:
    Reader(QIODevice &file, ElfFile &elf)
        : m_file(file)
        , m_elf(elf)
    { }

    void read()
    {
        m_elf.libraryFault = QStringLiteral("it is not a library");
        const QByteArray header = bytes(0, sizeof(Elf64_Ehdr));
        if (header.size() < int(sizeof(Elf32_Ehdr))) {
            return fail("the file ends in its header");
        }
        // 64-bit kernels do not look at the class, but at the size of the program headers.
        m_wide = header.at(EI_CLASS) == ELFCLASS64
            || (header.size() == sizeof(Elf64_Ehdr)
                && Numbers(header, true, false).number(offsetof(Elf64_Ehdr, e_phentsize), 2) == sizeof(Elf64_Phdr));
        // Nor at the byte order: a small number that is read the wrong way round is a large one.
        m_bigEndian = header.at(EI_DATA) == ELFDATA2MSB && Numbers(header, false, false).number(EI_NIDENT, 2) > 0xff;
        m_header = numbers(header);
        m_type = m_header.number(EI_NIDENT, 2);
        m_elf.architecture = architectureOf(m_header.number(EI_NIDENT + 2, 2), m_wide, m_bigEndian);
        if (m_type != ET_EXEC && m_type != ET_DYN) {
            return;
        }
        m_elf.kind = ElfFile::Kind::Program;
        readSegments();
        readLoader();
        readDynamic();
        judge();
        judgeLibrary(header);
    }

private:
    [[nodiscard]] QByteArray bytes(quint64 offset, quint64 size)
    {
        return offset < quint64(m_file.size()) && m_file.seek(qint64(offset)) ? m_file.read(qint64(size))
                                                                              : QByteArray();
    }
    [[nodiscard]] Numbers numbers(const QByteArray &bytes) const { return {bytes, m_wide, m_bigEndian}; }
    void fail(const char *fault)
    {
        if (m_elf.fault.isEmpty()) {
            m_elf.fault = QLatin1String(fault);
        }
    }

    void readSegments()
    {
        const int size = m_wide ? int(sizeof(Elf64_Phdr)) : int(sizeof(Elf32_Phdr));
        const int count = int(m_header.half(offsetof(Elf32_Ehdr, e_phnum), offsetof(Elf64_Ehdr, e_phnum)));
        const QByteArray table =
            bytes(m_header.word(offsetof(Elf32_Ehdr, e_phoff), offsetof(Elf64_Ehdr, e_phoff)), quint64(size) * count);
        if (int(m_header.half(offsetof(Elf32_Ehdr, e_phentsize), offsetof(Elf64_Ehdr, e_phentsize))) != size
            || count == 0) {
            return fail("it has no program headers");
        }
        if (table.size() != size * count) {
            return fail("the file ends before its program headers");
        }
        for (int i = 0; i < count; ++i) {
            const Numbers row = numbers(table.mid(i * size, size));
            m_segments.append({row.number(0, 4),
                               row.number(m_wide ? offsetof(Elf64_Phdr, p_flags) : offsetof(Elf32_Phdr, p_flags), 4),
                               row.word(offsetof(Elf32_Phdr, p_offset), offsetof(Elf64_Phdr, p_offset)),
                               row.word(offsetof(Elf32_Phdr, p_vaddr), offsetof(Elf64_Phdr, p_vaddr)),
                               row.word(offsetof(Elf32_Phdr, p_filesz), offsetof(Elf64_Phdr, p_filesz)),
                               row.word(offsetof(Elf32_Phdr, p_memsz), offsetof(Elf64_Phdr, p_memsz))});
            checkSegment(m_segments.last());
        }
    }

    void checkSegment(const Segment &segment)
    {
        const bool isLoaded = segment.type == PT_LOAD;
        const auto size = quint64(m_file.size());
        if ((isLoaded || segment.type == PT_INTERP)
            && (segment.offset > size || segment.fileSize > size - segment.offset)) {
            fail("the file ends before its last segment");
        } else if (isLoaded
                   && (segment.flags == 0 || segment.memorySize > largestMemory || segment.fileSize > segment.memorySize
                       || (segment.address - segment.offset) % pageSize != 0)) {
            fail("a segment cannot be loaded");
        }
    }

    void readLoader()
    {
        for (const Segment &segment : qAsConst(m_segments)) {
            if (segment.type == PT_INTERP && !m_elf.hasLoader) {
                m_elf.hasLoader = true;
                m_elf.loader = bytes(segment.offset, qMin(segment.fileSize, quint64(PATH_MAX)));
                if (segment.fileSize < 2 || segment.fileSize > PATH_MAX || !m_elf.loader.endsWith('\0')) {
                    fail("the path of its dynamic loader is damaged");
                }
                m_elf.loader.truncate(int(qstrlen(m_elf.loader.constData())));
            }
        }
    }

    /// The place in the file of an address in memory; beyond its end if there is none.
    [[nodiscard]] quint64 offsetOf(quint64 address) const
    {
        for (const Segment &segment : m_segments) {
            if (segment.type == PT_LOAD && address >= segment.address && address - segment.address < segment.fileSize) {
                return address - segment.address + segment.offset;
            }
        }
        return ~quint64(0);
    }

    void readDynamic()
    {
        QHash<quint64, quint64> values;
        QVector<quint64> needed;
        for (const Segment &segment : qAsConst(m_segments)) {
            if (segment.type != PT_DYNAMIC) {
                continue;
            }
            m_elf.isDynamic = true;
            const int size = m_wide ? 8 : 4;
            const QByteArray content = bytes(offsetOf(segment.address), largestDynamic);
            const Numbers table = numbers(content);
            for (int place = 0; place + 2 * size <= content.size() && table.word(place) != DT_NULL; place += 2 * size) {
                const quint64 tag = table.word(place);
                values.insert(tag, table.word(place + size));
                if (tag == DT_NEEDED) {
                    needed.append(table.word(place + size));
                }
            }
        }
        const quint64 strings = offsetOf(values.value(DT_STRTAB));
        const auto text = [&](quint64 place) {
            return QByteArray(bytes(strings + place, strings == ~quint64(0) ? 0 : PATH_MAX).constData());
        };
        for (const quint64 place : qAsConst(needed)) {
            m_elf.needed.append(text(place));
            if (m_elf.needed.last().isEmpty()) {
                fail("the names of its libraries are damaged");
            }
        }
        const auto folders = [&](quint64 tag) {
            return values.contains(tag) ? text(values.value(tag)).split(':') : QByteArrayList();
        };
        if (m_elf.isDynamic && !values.contains(DT_STRTAB)) {
            fail("its dynamic section is damaged");
        }
        m_elf.runpath = folders(DT_RUNPATH);
        m_elf.rpath = m_elf.runpath.isEmpty() ? folders(DT_RPATH) : QByteArrayList();
        m_elf.soname = values.contains(DT_SONAME) ? text(values.value(DT_SONAME)) : QByteArray();
        m_isPie = (values.value(DT_FLAGS_1) & DF_1_PIE) != 0;
    }

    // The dynamic loader compares more of the header than the kernel.
    void judgeLibrary(const QByteArray &header)
    {
        static const QByteArray systems{"\0\3\100\141", 4}; // System V, GNU, and two of ARM
        const int known = header.at(EI_OSABI) == ELFOSABI_GNU ? EI_PAD : EI_ABIVERSION;
        const QByteArray zeros = header.mid(known, EI_NIDENT - known);
        const bool isSound = header.at(EI_CLASS) == (m_wide ? ELFCLASS64 : ELFCLASS32)
            && header.at(EI_DATA) == (m_bigEndian ? ELFDATA2MSB : ELFDATA2LSB) && header.at(EI_VERSION) == EV_CURRENT
            && systems.contains(header.at(EI_OSABI)) && zeros.count('\0') == zeros.size();
        m_elf.libraryFault = !m_elf.fault.isEmpty() ? m_elf.fault
            : !isSound                              ? QStringLiteral("its header is damaged")
            : !m_elf.isDynamic                      ? QStringLiteral("it has no dynamic section")
                                                    : QString();
    }

    /// What other segments describe is a part of a loaded one, with its rights.
    [[nodiscard]] bool isLoaded(const Segment &part) const
    {
        const quint64 rights = part.type == PT_DYNAMIC ? part.flags : 0;
        return std::any_of(m_segments.begin(), m_segments.end(), [&](const Segment &segment) {
            return segment.type == PT_LOAD && part.address >= segment.address
                && part.address - segment.address < segment.fileSize && (segment.flags & rights) == rights;
        });
    }

    void judge()
    {
        for (const Segment &segment : qAsConst(m_segments)) {
            static const QVector<quint64> described{PT_DYNAMIC, PT_PHDR, PT_GNU_EH_FRAME, PT_GNU_RELRO};
            if (described.contains(segment.type) && !isLoaded(segment)) {
                fail("a part of it is not loaded");
            }
        }
        const quint64 entry = m_header.word(offsetof(Elf32_Ehdr, e_entry), offsetof(Elf64_Ehdr, e_entry));
        // Some libraries, such as that of C, can be executed: they print their version.
        const bool needsLoader = !m_elf.hasLoader && !m_elf.needed.isEmpty();
        if (m_type == ET_DYN && !m_isPie && (entry == 0 || needsLoader || !m_elf.soname.isEmpty())) {
            m_elf.kind = ElfFile::Kind::Library;
            return;
        }
        bool isCode = false;
        for (const Segment &segment : qAsConst(m_segments)) {
            isCode = isCode
                || (segment.type == PT_LOAD && (segment.flags & PF_X) != 0 && entry >= segment.address
                    && entry - segment.address < segment.fileSize);
        }
        if (needsLoader) {
            fail("it needs libraries, but names no dynamic loader");
        }
        if (entry == 0 || !isCode) {
            fail("its entry point is in no executable segment");
        }
    }

    QIODevice &m_file;
    ElfFile &m_elf;
    Numbers m_header;
    bool m_wide = false;
    bool m_bigEndian = false;
    bool m_isPie = false;
    quint64 m_type = 0;
    QVector<Segment> m_segments;
};

} // namespace

ElfFile ElfFile::read(QIODevice &file)
{
    ElfFile elf;
    Reader(file, elf).read();
    return elf;
}
