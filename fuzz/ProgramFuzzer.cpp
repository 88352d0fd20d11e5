#include "FuzzRoot.h"
#include "verify/ExecCheck.h"

#include <QFile>

// A program, as the kernel and the dynamic loader read it.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QString path = QStringLiteral("/usr/lib/JovApplication/fuzzed");
    FuzzRoot::write(path, data, size);
    const RootFile program(path);
    const std::optional<ExecCheck::Fault> fault = ExecCheck().check(program);
    // The file has no execute permission: nothing of it may look right.
    require(fault.has_value() && !fault->message.isEmpty(), "a program that cannot be executed has no fault");
    QFile file(program.openName());
    require(file.open(QIODevice::ReadOnly), "a file that exists cannot be opened");
    const ElfFile elf = ElfFile::read(file);
    require(elf.kind == ElfFile::Kind::Other || !elf.architecture.isEmpty(), "a program for no machine");
    return 0;
}
