#include <QDir>
#include <QFile>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

// Gives each file of the named folders to a fuzzer once, for builds without clang. A finding ends the process, and the
// last name it has printed is the input's.
int main(int argc, char **argv)
{
    int count = 0;
    for (int argument = 1; argument < argc; ++argument) {
        const QDir folder(QFile::decodeName(argv[argument]));
        const QStringList names = folder.entryList(QDir::Files);
        for (const QString &name : names) {
            QFile file(folder.filePath(name));
            std::fprintf(stderr, "%s\n", qPrintable(file.fileName()));
            if (!file.open(QIODevice::ReadOnly)) {
                return EXIT_FAILURE;
            }
            const QByteArray input = file.readAll();
            LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t *>(input.constData()),
                                   std::size_t(input.size()));
            ++count;
        }
    }
    return count > 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
