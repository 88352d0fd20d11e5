#include "client/Console.h"
#include "client/Interrupt.h"
#include "jovctl/Command.h"
#include "jovctl/OutputFile.h"
#include "root/PlatformIni.h"
#include "supervision/Parameters.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTimer>

namespace {

constexpr int pollInterval = 250; // milliseconds
constexpr int linesByDefault = 20;

void writeText(const QByteArray &text)
{
    // What a module prints may hold anything: only line feeds and tabs reach the terminal as they are.
    const QStringList lines = QString::fromUtf8(text).split(QLatin1Char('\n'));
    for (int i = 0; i < lines.size(); ++i) {
        Console::write(Console::printable(lines.at(i)) + (i + 1 < lines.size() ? QStringLiteral("\n") : QString()));
    }
}

/// Writes what is added to the file of that path, also after another one took its place.
void follow(const QString &path)
{
    Interrupt interrupt;
    QObject::connect(&interrupt, &Interrupt::raised, &interrupt, [] { QCoreApplication::quit(); });
    qint64 position = QFileInfo(path).size();
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, &timer, [&] {
        QFile file(path);
        if (!QFileInfo(path).isFile() || !file.open(QIODevice::ReadOnly)) {
            return;
        }
        position = file.size() < position ? 0 : position;
        file.seek(position);
        const QByteArray text = file.readAll();
        position += text.size();
        writeText(text);
        if (!Console::flush()) {
            QCoreApplication::exit(int(ExitStatus::Failed));
        }
    });
    timer.start(pollInterval);
    QCoreApplication::exec();
}

ExitStatus showJournal(const QString &module, const QString &count, bool follows)
{
    QStringList words{QStringLiteral("--no-pager"), QStringLiteral("-t"), module, QStringLiteral("-n"), count};
    if (follows) {
        words << QStringLiteral("-f");
    }
    QProcess journal;
    Interrupt interrupt; // also the end of --timeout: it must not leave the process behind
    QEventLoop loop;
    bool isInterrupted = false;
    QObject::connect(&interrupt, &Interrupt::raised, &journal, [&] {
        isInterrupted = true;
        journal.terminate();
    });
    QObject::connect(&journal, qOverload<int, QProcess::ExitStatus>(&QProcess::finished), &loop, &QEventLoop::quit);
    journal.setProcessChannelMode(QProcess::ForwardedChannels);
    journal.setStandardInputFile(QProcess::nullDevice());
    journal.start(QStringLiteral("journalctl"), words);
    if (!journal.waitForStarted()) {
        throw Failure(ExitStatus::Failed, QStringLiteral("journalctl cannot be run"));
    }
    if (journal.state() != QProcess::NotRunning) {
        loop.exec();
    }
    const bool isDone = journal.exitStatus() == QProcess::NormalExit && journal.exitCode() == 0;
    return isDone || (isInterrupted && follows) ? ExitStatus::Done : ExitStatus::Failed;
}

} // namespace

OutputSetting outputSetting()
{
    return Parameters::read(PlatformIni::section(QStringLiteral("ApplicationManager")), [](auto &, auto &) {})
        .moduleOutput;
}

ExitStatus Commands::log(const Arguments &arguments)
{
    const QString module = arguments.operands().first();
    const bool follows = arguments.isSet(QStringLiteral("f"));
    bool isNumber = true;
    const int count =
        arguments.isSet(QStringLiteral("n")) ? arguments.value(QStringLiteral("n")).toInt(&isNumber) : linesByDefault;
    if (!isNumber || count < 0) {
        throw Failure(ExitStatus::Usage, QStringLiteral("-n needs a number"));
    }
    const OutputSetting setting = outputSetting();
    if (setting.kind == OutputSetting::Kind::None) {
        throw Failure(ExitStatus::Failed,
                      QStringLiteral("what modules print is discarded: set module_output in platform.ini"));
    }
    if (setting.kind == OutputSetting::Kind::Journal) {
        return showJournal(module, QString::number(count), follows);
    }
    if (setting.pattern.isEmpty()) {
        throw Failure(ExitStatus::Failed,
                      QStringLiteral("what modules print goes to a log program: set module_output_path in platform.ini "
                                     "to the file that it writes"));
    }
    const QString path = setting.pathOf(module);
    if (!QFile::exists(path)) {
        throw Failure(
            ExitStatus::Failed,
            QStringLiteral("%1 does not exist: the module has not been started with it").arg(Console::printable(path)));
    }
    const QStringList lines = setting.lastLines(module, count);
    for (const QString &line : lines) {
        Console::writeLine(Console::printable(line));
    }
    if (lines.isEmpty() && count > 0) {
        Console::complain(QStringLiteral("%1 is empty: the module has printed nothing").arg(Console::printable(path)));
    }
    if (follows) {
        Console::flush();
        follow(path);
    }
    return ExitStatus::Done;
}
