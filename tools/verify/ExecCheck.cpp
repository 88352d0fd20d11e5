#include "verify/ExecCheck.h"

#include "catalogue/ModulePaths.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>

namespace {

constexpr int lineSize = 256; // of the first line of a script, as the kernel reads it
constexpr int lineSizeBefore51 = 128;
constexpr qint64 largestScript = 1 << 16;
constexpr int mostLevels = 5; // of scripts whose interpreters are scripts

const QByteArray blanks = QByteArrayLiteral(" \t");

QString quoted(const QByteArray &text)
{
    return QLatin1Char('\'') + QString::fromUtf8(text) + QLatin1Char('\'');
}

/// A relative path begins in the directory in which the daemon starts modules.
QByteArray absolute(const QByteArray &path)
{
    return path.startsWith('/') ? path : ModulePaths::moduleDirectory().toUtf8() + path;
}

bool isLoader(const QByteArray &path)
{
    return path.mid(path.lastIndexOf('/') + 1).startsWith("ld-");
}

bool hasApplet(const RootFile &busybox, const QByteArray &name)
{
    QFile file(busybox.openName());
    return !name.isEmpty() && busybox.isRegular() && file.open(QIODevice::ReadOnly)
        && file.readAll().contains('\0' + name + '\0');
}

int indexOfAny(const QByteArray &text, const QByteArray &characters)
{
    int index = 0;
    while (index < text.size() && !characters.contains(text.at(index))) {
        ++index;
    }
    return index == text.size() ? -1 : index;
}

QByteArray withoutLeading(QByteArray text)
{
    while (!text.isEmpty() && blanks.contains(text.at(0))) {
        text.remove(0, 1);
    }
    return text;
}

/// Whether a script ends with a program that is given by its path, and with its result; not in a list or in a text of
/// several lines. A name can also be one of the shell.
bool endsWithPath(const QByteArray &line, const QByteArray &before)
{
    static const QRegularExpression several(QStringLiteral("[|&;<>(){}`\\\\]"));
    static const QRegularExpression open(QStringLiteral("<<|[|&]\\s*$"));
    return line.startsWith('/') && line.count('"') % 2 == 0 && line.count('\'') % 2 == 0
        && !several.match(QString::fromUtf8(line)).hasMatch() && !open.match(QString::fromUtf8(before)).hasMatch();
}

} // namespace

ExecCheck::ExecCheck()
{
    for (const char *path : {"/bin/sh", "/sbin/init", "/bin/busybox", "/usr/bin/env"}) {
        const RootFile program{QByteArray(path)};
        m_hasSystem = m_hasSystem || program.isRegular();
        m_architecture = m_architecture.isEmpty() ? architectureOf(program) : m_architecture;
    }
    for (const char *folder : {"/lib", "/lib64"}) {
        const QStringList names = RootFile(QByteArray(folder)).entries();
        for (const QString &name : names) {
            const RootFile loader(QLatin1String(folder) + QLatin1Char('/') + name);
            if (name.startsWith(QLatin1String("ld-")) && loader.isRegular()) {
                m_hasSystem = true;
                m_architecture = m_architecture.isEmpty() ? architectureOf(loader) : m_architecture;
            }
        }
    }
}

QString ExecCheck::architectureOf(const RootFile &found)
{
    QFile file(found.openName());
    const bool isElf = found.isRegular() && file.open(QIODevice::ReadOnly) && file.peek(4) == "\177ELF";
    return isElf ? ElfFile::read(file).architecture : QString();
}

/// Whether the file may be one of a system that the root does not have.
bool ExecCheck::isOfSystem(const QByteArray &path)
{
    static const QByteArrayList names{"sh",   "ash", "bash", "dash", "busybox", "env",    "python",
                                      "perl", "lua", "awk",  "sed",  "tclsh",   "python3"};
    const QByteArray name = path.mid(path.lastIndexOf('/') + 1);
    const bool isUsual = names.contains(name) || name.startsWith("ld-") || name.startsWith("ld.so");
    const bool isOfSystem = !m_hasSystem && isUsual && !RootFile(path).exists();
    m_isPartlyUnchecked = m_isPartlyUnchecked || isOfSystem;
    return isOfSystem;
}

std::optional<ExecCheck::Fault> ExecCheck::checkLevel(const RootFile &program, int level)
{
    m_isPartlyUnchecked = m_isPartlyUnchecked && level > 0;
    std::optional<Fault> fault;
    QFile file(program.openName());
    if (!file.open(QIODevice::ReadOnly)) {
        return Fault{Rule::ProgramUnread,
                     QStringLiteral("cannot be read (%1), so it was not checked").arg(file.errorString()),
                     QStringLiteral("run the check with the permission to read it")};
    }
    const QByteArray head = file.peek(lineSize);
    if (head.startsWith("\177ELF")) {
        fault = checkElf(program, file);
    } else if (head.startsWith("#!")) {
        fault = checkScript(head.mid(2), level);
        fault = fault || level > 0 ? fault : checkLastCommand(file);
    } else {
        fault = Fault{Rule::ProgramFormat, QStringLiteral("is neither a program nor a script with an interpreter line"),
                      QStringLiteral("begin a script with \"#!/bin/sh\"")};
    }
    if (!fault && !program.isExecutable()) {
        fault = Fault{Rule::ProgramMode, QStringLiteral("cannot be executed"), QStringLiteral("run chmod 755")};
    }
    m_unchecked += level == 0 && m_isPartlyUnchecked ? 1 : 0;
    return fault;
}

std::optional<ExecCheck::Fault> ExecCheck::checkElf(const RootFile &program, QIODevice &file)
{
    const ElfFile elf = ElfFile::read(file);
    if (elf.kind == ElfFile::Kind::Other && elf.fault.isEmpty()) {
        return Fault{Rule::ProgramFormat, QStringLiteral("is an object or core file, not a program"),
                     QStringLiteral("install the linked program")};
    }
    if (elf.kind == ElfFile::Kind::Library && elf.fault.isEmpty()) {
        return Fault{Rule::ProgramLibrary, QStringLiteral("is a shared library, not a program"),
                     QStringLiteral("move it to a library directory: each file in this directory is started")};
    }
    if (!elf.fault.isEmpty()) {
        return Fault{Rule::ProgramDamaged, QStringLiteral("is damaged: %1").arg(elf.fault),
                     QStringLiteral("install it again")};
    }
    if (elf.hasLoader) {
        if (const std::optional<Fault> fault = checkLoader(elf)) {
            return fault;
        }
    } else if (!m_architecture.isEmpty() && elf.architecture != m_architecture) {
        return Fault{Rule::ProgramArchitecture,
                     QStringLiteral("is built for %1, but the terminal is %2").arg(elf.architecture, m_architecture),
                     QStringLiteral("build it for %1").arg(m_architecture)};
    }
    if (!elf.hasLoader || !RootFile(absolute(elf.loader)).exists()) {
        return {};
    }
    if (!elf.isDynamic) {
        return Fault{Rule::ProgramDamaged, QStringLiteral("is damaged: it has nothing for its dynamic loader"),
                     QStringLiteral("install it again")};
    }
    const LibrarySearch::Result result = m_libraries.search(program.realPath(), elf);
    if (result.missing.isEmpty()) {
        return {};
    }
    const QString needs = result.neededBy.isEmpty()
        ? QStringLiteral("needs the library %1").arg(QString::fromUtf8(result.missing))
        : QStringLiteral("needs %1, which needs the library %2")
              .arg(QString::fromUtf8(result.neededBy), QString::fromUtf8(result.missing));
    return Fault{Rule::LibraryMissing,
                 QStringLiteral("%1, which %2")
                     .arg(needs,
                          result.reason.isEmpty() ? QStringLiteral("is not in this root")
                                                  : QStringLiteral("cannot be used: %1").arg(result.reason)),
                 QStringLiteral("install the library, for %1").arg(elf.architecture)};
}

std::optional<ExecCheck::Fault> ExecCheck::checkLoader(const ElfFile &elf)
{
    const RootFile loader(absolute(elf.loader));
    // A machine that runs programs of two kinds has a loader for each.
    if (!loader.exists() && !m_architecture.isEmpty() && elf.architecture != m_architecture) {
        return Fault{Rule::ProgramArchitecture,
                     QStringLiteral("is built for %1, but the terminal is %2").arg(elf.architecture, m_architecture),
                     QStringLiteral("build it for %1").arg(m_architecture)};
    }
    if (isOfSystem(absolute(elf.loader))) {
        return {};
    }
    QFile file(loader.openName());
    const bool isElf = architectureOf(loader) == elf.architecture && file.open(QIODevice::ReadOnly);
    // A program with a loader of its own is none.
    if (!loader.isRegular() || !loader.isExecutable() || !isElf || ElfFile::read(file).hasLoader) {
        return Fault{Rule::LoaderMissing,
                     QStringLiteral("its dynamic loader %1 %2")
                         .arg(quoted(elf.loader),
                              !loader.exists() ? QStringLiteral("does not exist")
                                               : QStringLiteral("is not a loader for %1").arg(elf.architecture)),
                     QStringLiteral("install the loader, or link the program for the libraries of this terminal")};
    }
    return {};
}

std::optional<ExecCheck::Fault> ExecCheck::checkScript(const QByteArray &head, int level)
{
    const QString advice = QStringLiteral("begin a script with a line such as \"#!/bin/sh\"");
    const bool isWhole = head.size() < lineSize - 2;
    const int end = head.indexOf('\n');
    // The kernel sees zeros behind a short file, and takes the path only if it sees where that ends.
    QByteArray line = withoutLeading(end >= 0 ? head.left(end) : head);
    line.truncate(int(qstrlen(line.constData())));
    while (!line.isEmpty() && blanks.contains(line.at(line.size() - 1))) {
        line.chop(1);
    }
    const int blank = indexOfAny(line, blanks);
    if (line.isEmpty()) {
        return Fault{Rule::ScriptLine, QStringLiteral("names no interpreter in its first line"), advice};
    }
    if (end < 0 && !isWhole && blank < 0) {
        return Fault{Rule::ScriptLine, QStringLiteral("the path of its interpreter is longer than the kernel reads"),
                     advice};
    }
    if (line.endsWith('\r') || (blank > 0 && line.at(blank - 1) == '\r')) {
        return Fault{Rule::ScriptLine,
                     QStringLiteral("its first line ends with a carriage return, which becomes a part of the line"),
                     QStringLiteral("convert the file to Unix line ends, for example with dos2unix")};
    }
    const QByteArray interpreter = blank < 0 ? line : line.left(blank);
    std::optional<Fault> fault = checkInterpreter(interpreter, level);
    fault =
        fault ? fault : checkArgument(interpreter, blank < 0 ? QByteArray() : withoutLeading(line.mid(blank)), level);
    if (!fault && (end < 0 ? head.size() : end) > lineSizeBefore51 - 3) {
        fault = Fault{Rule::ScriptLineLong,
                      QStringLiteral("its first line is longer than 127 bytes: kernels before 5.1 cut it"), advice};
    }
    return fault;
}

std::optional<ExecCheck::Fault> ExecCheck::checkInterpreter(const QByteArray &path, int level)
{
    const QString advice = QStringLiteral("install the interpreter, or correct the first line");
    const RootFile interpreter(absolute(path));
    if (isOfSystem(absolute(path))) {
        return {};
    }
    QString why;
    if (!interpreter.exists()) {
        why = interpreter.isMissing() ? QStringLiteral("does not exist") : interpreter.errorText();
    } else if (!interpreter.isRegular()) {
        why = QStringLiteral("is not a regular file");
    } else if (level >= mostLevels) {
        why = QStringLiteral("is a script with too many interpreters behind it");
    } else if (const std::optional<Fault> fault = checkLevel(interpreter, level + 1);
               fault && !(fault->rule == Rule::ProgramLibrary && isLoader(path))) {
        why = infoOf(fault->rule).severity == Severity::Error ? fault->message : QString();
    }
    return why.isEmpty()
        ? std::nullopt
        : std::optional<Fault>(
            {Rule::ScriptInterpreter, QStringLiteral("its interpreter %1 %2").arg(quoted(path), why), advice});
}

/// The kernel hands over everything behind the interpreter as one argument.
std::optional<ExecCheck::Fault> ExecCheck::checkArgument(const QByteArray &interpreter, const QByteArray &argument,
                                                         int level)
{
    static const QByteArrayList single{"sh", "ash", "bash", "dash", "python", "python3"};
    static const QByteArrayList others{"cat", "echo", "false", "printf", "sleep", "true"};
    const QByteArray name = interpreter.mid(interpreter.lastIndexOf('/') + 1);
    if (name == "env") {
        return checkCommand(argument, level);
    }
    if (isLoader(interpreter)) {
        return checkInterpreter(argument, level);
    }
    if (others.contains(name)) {
        return Fault{Rule::ScriptLine, QStringLiteral("%1 runs no scripts").arg(quoted(interpreter)),
                     QStringLiteral("name an interpreter, such as /bin/sh")};
    }
    const RootFile program(absolute(interpreter));
    const bool isNoApplet = name == "busybox" && program.isRegular() && !hasApplet(program, argument);
    const bool isNoOption = single.contains(name) && !argument.isEmpty()
        && (!argument.startsWith('-') || indexOfAny(argument, blanks) >= 0
            || (program.realPath().endsWith("/dash") && argument.startsWith("--") && argument.size() > 2));
    return isNoApplet || isNoOption
        ? std::optional<Fault>({Rule::ScriptLine,
                                QStringLiteral("its interpreter %1 does not accept the argument %2")
                                    .arg(quoted(interpreter), quoted(argument)),
                                isNoApplet ? QStringLiteral("name a command that this busybox has")
                                           : QStringLiteral("write at most one option behind the interpreter")})
        : std::nullopt;
}

/// The program that env(1) starts.
std::optional<ExecCheck::Fault> ExecCheck::checkCommand(const QByteArray &argument, int level)
{
    QByteArray text = argument;
    text.replace("--split-string=", "-S").replace('"', "").replace('\'', "");
    const QByteArray options = text.simplified().split(' ').first();
    const int split = options.startsWith('-') && !options.startsWith("--") ? options.indexOf('S') : -1;
    QByteArrayList words = split < 0 ? QByteArrayList{argument} : text.mid(split + 1).simplified().split(' ');
    bool isOption = split >= 0;
    while (isOption && words.value(0).startsWith('-')) {
        const QByteArray option = words.takeFirst();
        isOption = option != "--";
        const bool hasWord = option == "-u" || option == "-C" || option == "--unset" || option == "--chdir";
        const QByteArray word = hasWord && !words.isEmpty() ? words.takeFirst() : QByteArray();
        const QByteArray folder = option.startsWith("--chdir=") ? option.mid(8) : word;
        if ((option == "-C" || option.startsWith("--chdir")) && !RootFile(absolute(folder)).isDirectory()) {
            return Fault{Rule::ScriptLine, QStringLiteral("env cannot change to %1").arg(quoted(folder)),
                         QStringLiteral("name a directory of the terminal")};
        }
    }
    while (words.value(0).contains('=')) {
        if (words.takeFirst().startsWith("PATH=")) {
            return {};
        }
    }
    const QByteArray command = words.value(0);
    if (command.isEmpty() || command.startsWith('-')) {
        return Fault{Rule::ScriptLine, QStringLiteral("its first line has no program that env could start"),
                     QStringLiteral("write \"#!/usr/bin/env PROGRAM\", with arguments behind \"env -S\"")};
    }
    return checkInterpreter(inPath(command), level);
}

/// A path as it is, a name where the daemon's modules find it.
QByteArray ExecCheck::inPath(const QByteArray &command)
{
    for (const char *folder : {"/usr/local/sbin/", "/usr/local/bin/", "/usr/sbin/", "/usr/bin/", "/sbin/", "/bin/"}) {
        if (!command.contains('/') && RootFile(folder + command).isRegular()) {
            return folder + command;
        }
    }
    return command.contains('/') ? command : "/usr/bin/" + command;
}

/// The last command of a shell script if it is "exec PROGRAM" or "/PATH", and nothing before it may end the script or
/// change where programs are found. With jov-run there is a second program, behind "--".
std::optional<ExecCheck::Fault> ExecCheck::checkLastCommand(QIODevice &file)
{
    static const QRegularExpression plain(QStringLiteral("^/?[\\w.+][\\w.+-]*(/[\\w.+-]+)*$"));
    static const QRegularExpression before(QStringLiteral("PATH=|\\b(exec|exit|return|source)\\b|\\n\\s*\\. "));
    QByteArrayList lines = file.read(largestScript).replace("\\\n", " ").split('\n');
    const bool isShell = lines.first().contains("sh");
    while (!lines.isEmpty() && (lines.last().trimmed().isEmpty() || lines.last().startsWith('#'))) {
        lines.removeLast();
    }
    const QByteArray last = lines.isEmpty() ? QByteArray() : lines.takeLast();
    const QByteArray text = lines.join('\n');
    QByteArrayList words = last.split(' ');
    const bool isExec = words.first() == "exec";
    if (!m_hasSystem || !isShell || !file.atEnd() || !(isExec || endsWithPath(last, text))
        || before.match(QString::fromUtf8(text)).hasMatch()) {
        return {};
    }
    words.removeAll(QByteArray());
    const QByteArray program = words.value(isExec ? 1 : 0);
    const bool isJovRun = program.endsWith("jov-run");
    for (const QByteArray &word : {program, isJovRun ? words.value(words.indexOf("--") + 1) : QByteArray()}) {
        const bool isName = plain.match(QString::fromUtf8(word)).hasMatch() && word != "exec"
            && word.contains('/') == word.startsWith('/');
        const std::optional<Fault> fault = isName ? checkInterpreter(inPath(word), 0) : std::optional<Fault>();
        if (fault && !hasApplet(RootFile(QByteArrayLiteral("/bin/busybox")), word)) {
            return Fault{Rule::ScriptCommand,
                         QStringLiteral("its last line executes %1, which %2")
                             .arg(quoted(word), fault->message.section(QStringLiteral("' "), 1)),
                         QStringLiteral("install the program, or correct the last line")};
        }
    }
    return {};
}
