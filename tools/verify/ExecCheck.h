#ifndef EXEC_CHECK_H
#define EXEC_CHECK_H

#include "verify/LibrarySearch.h"
#include "verify/RootFile.h"
#include "verify/Rules.h"

#include <optional>

/**
 * What execve(2) and the dynamic loader of the terminal will do with a program, from its files alone.
 *
 * A root without a system, such as a set of modules and their configuration that is installed on top of one, does not
 * show whether an interpreter, a dynamic loader or a library will be there. Then those that a system usually has are
 * not checked.
 */
class ExecCheck
{
public:
    struct Fault
    {
        Rule rule;
        QString message;
        QString advice;
    };

    ExecCheck();

    /// Nothing: the program can be executed, as far as its files show.
    [[nodiscard]] std::optional<Fault> check(const RootFile &program) { return checkLevel(program, 0); }
    /// Of the programs of the terminal; empty if it is not known.
    [[nodiscard]] const QString &architecture() const { return m_architecture; }
    /// The number of programs with parts that were not checked.
    [[nodiscard]] int unchecked() const { return m_unchecked; }

    /// The architecture of an ELF file; empty for another file.
    [[nodiscard]] static QString architectureOf(const RootFile &file);

private:
    [[nodiscard]] std::optional<Fault> checkLevel(const RootFile &program, int level);
    [[nodiscard]] std::optional<Fault> checkElf(const RootFile &program, QIODevice &file);
    [[nodiscard]] std::optional<Fault> checkLoader(const ElfFile &elf);
    [[nodiscard]] std::optional<Fault> checkScript(const QByteArray &head, int level);
    [[nodiscard]] std::optional<Fault> checkInterpreter(const QByteArray &path, int level);
    [[nodiscard]] std::optional<Fault> checkArgument(const QByteArray &interpreter, const QByteArray &argument,
                                                     int level);
    [[nodiscard]] std::optional<Fault> checkCommand(const QByteArray &argument, int level);
    [[nodiscard]] std::optional<Fault> checkLastCommand(QIODevice &file);
    [[nodiscard]] static QByteArray inPath(const QByteArray &command);
    [[nodiscard]] bool isOfSystem(const QByteArray &path);

    bool m_hasSystem = false;
    bool m_isPartlyUnchecked = false;
    int m_unchecked = 0;
    QString m_architecture;
    LibrarySearch m_libraries;
};

#endif
