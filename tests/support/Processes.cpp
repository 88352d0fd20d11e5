#include "support/Processes.h"

#include <QDir>
#include <QFile>
#include <QSet>

namespace {

const QString moduleOption = "--moduleName="_s;

QByteArray procFile(pid_t pid, const QByteArray &name)
{
    QFile file("/proc/%1/%2"_s.arg(pid).arg(QString::fromLatin1(name)));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

QList<pid_t> Processes::children(pid_t pid)
{
    QList<pid_t> found;
    const QStringList tasks = QDir("/proc/%1/task"_s.arg(pid)).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QString &task : tasks) {
        const QByteArray file = "task/" + task.toLatin1() + "/children";
        const QList<QByteArray> words = procFile(pid, file).simplified().split(' ');
        for (const QByteArray &word : words) {
            if (!word.isEmpty()) {
                found << word.toInt();
            }
        }
    }
    return found;
}

QByteArray Processes::commandLine(pid_t pid)
{
    return procFile(pid, "cmdline").replace('\0', ' ').trimmed();
}

QList<Processes::Process> Processes::below(pid_t ancestor)
{
    QList<Process> found;
    const QList<pid_t> direct = children(ancestor);
    for (const pid_t child : direct) {
        // A zombie has no command line any more.
        const QByteArray words = commandLine(child);
        if (!words.isEmpty()) {
            found << Process{child, ancestor, QString::fromLocal8Bit(words)};
        }
        found << below(child);
    }
    return found;
}

QMap<QString, QList<pid_t>> Processes::modulesBelow(pid_t ancestor)
{
    QMap<QString, QList<pid_t>> modules;
    QSet<pid_t> known;
    const QList<Process> processes = below(ancestor);
    for (const Process &process : processes) {
        const int option = process.commandLine.indexOf(moduleOption);
        if (option >= 0 && !known.contains(process.parent)) {
            known.insert(process.pid);
            const QString name = process.commandLine.mid(option + moduleOption.size()).section(u' ', 0, 0);
            modules[name] << process.pid;
        }
    }
    return modules;
}

QMap<int, QString> Processes::descriptors(pid_t pid)
{
    QMap<int, QString> open;
    const QString folder = "/proc/%1/fd"_s.arg(pid);
    const QStringList numbers = QDir(folder).entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot);
    for (const QString &number : numbers) {
        open.insert(number.toInt(), QFile::symLinkTarget(folder + u'/' + number).section(u'/', -1));
    }
    return open;
}

qint64 Processes::figure(pid_t pid, const char *file, const char *field)
{
    qint64 sum = -1;
    const QList<QByteArray> lines = procFile(pid, file).split('\n');
    for (const QByteArray &line : lines) {
        if (line.startsWith(QByteArray(field) + ':')) {
            sum = qMax<qint64>(sum, 0) + line.mid(int(qstrlen(field)) + 1).simplified().split(' ').first().toLongLong();
        }
    }
    return sum;
}

bool Processes::catches(pid_t pid, int signal)
{
    const QByteArray status = procFile(pid, "status");
    const QByteArray mask = status.mid(status.indexOf("SigCgt:") + 7, 17).trimmed();
    return (mask.toULongLong(nullptr, 16) >> (signal - 1) & 1) != 0;
}
