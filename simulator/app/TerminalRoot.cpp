#include "app/TerminalRoot.h"

#include "app/Installation.h"
#include "bus/PrivateBus.h"
#include "components/Announcement.h"
#include "components/SettingsFile.h"

#include <QDir>
#include <QFile>
#include <QSettings>
#include <QTemporaryDir>

#include <filesystem>
#include <system_error>

#include <sys/un.h>

namespace {

const QString modulesSection = QStringLiteral("modules");
const QString samplePlayer = QStringLiteral("sample-module");

QString writeFile(const QString &path, const QByteArray &text, bool executable)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size()) {
        return QStringLiteral("%1 cannot be written: %2").arg(path, file.errorString());
    }
    if (executable) {
        file.setPermissions(file.permissions() | QFile::ExeOwner | QFile::ExeGroup | QFile::ExeOther);
    }
    return {};
}

QString copyTree(const QString &from, const QString &to)
{
    using Options = std::filesystem::copy_options;
    std::error_code error;
    std::filesystem::copy(QFile::encodeName(from).toStdString(), QFile::encodeName(to).toStdString(),
                          Options::recursive | Options::overwrite_existing | Options::copy_symlinks, error);
    return error
        ? QStringLiteral("%1 cannot be copied to %2: %3").arg(from, to, QString::fromStdString(error.message()))
        : QString();
}

/// The stand-ins' own folder lies two levels above each of them.
const char announcingScript[] = R"(#!/bin/sh
# Stands in for the terminal's own command: tells the simulator what was asked for, and does nothing else.
root=$(cd "$(dirname "$0")/%upwards" && pwd) || exit 1
line="$(date +%s%3N)	%name"
for word in "$@"; do
    line="$line	$word"
done
printf '%s\n' "$line" >>"$root%file"
%further
)";

QByteArray script(const char *upwards, const char *name, const char *further)
{
    return QByteArray(announcingScript)
        .replace("%upwards", upwards)
        .replace("%name", name)
        .replace("%file", Announcement::file.toUtf8())
        .replace("%further", further);
}

} // namespace

QString TerminalRoot::open(const QString &wanted)
{
    m_kept = !wanted.isEmpty();
    if (m_kept) {
        m_path = QDir(wanted).absolutePath();
        m_laidBefore = QFile::exists(requests());
        if (!m_laidBefore && QDir(m_path).exists()
            && !QDir(m_path).isEmpty(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot)) {
            return QStringLiteral("%1 is not empty and no terminal of the simulator: name another folder").arg(m_path);
        }
    } else {
        QTemporaryDir folder(QDir::tempPath() + QStringLiteral("/jov-terminal-XXXXXX"));
        folder.setAutoRemove(false);
        if (!folder.isValid()) {
            return folder.errorString();
        }
        m_path = folder.path();
    }
    for (const char *folder : {"/run/simulator", "/usr/lib/JovApplication", "/usr/bin/JovApplication", "/sbin", "/etc",
                               "/var/log", "/log", "/data/core", "/tmp"}) {
        if (!QDir().mkpath(at(folder))) {
            return QStringLiteral("%1 cannot be made").arg(at(folder));
        }
    }
    if (m_kept) {
        m_lock = std::make_unique<QLockFile>(at("/run/simulator/lock"));
    }
    if (m_lock && !m_lock->tryLock()) {
        return QStringLiteral("%1: another simulator runs this terminal").arg(m_path);
    }
    if (static_cast<std::size_t>(QFile::encodeName(busSocket()).size()) >= sizeof(sockaddr_un::sun_path)) {
        return QStringLiteral("%1: the path is too long for a socket; choose a shorter one with --root").arg(m_path);
    }
    QFile::remove(busSocket());
    return {};
}

QString TerminalRoot::lay(const QString &terminal)
{
    QString folder = terminal.isEmpty() ? Installation::terminal(QString()) : terminal;
    if (!QDir(folder).exists()) {
        folder = Installation::terminal(terminal);
    }
    if (!QDir(folder).exists()) {
        return QStringLiteral("%1: there is no such folder").arg(terminal);
    }
    QString fault;
    if (!m_laidBefore) {
        fault = copyTree(folder, m_path);
    }
    for (const auto &part : {&TerminalRoot::writeStandIns, &TerminalRoot::writeBusConfig, &TerminalRoot::adjustLog,
                             &TerminalRoot::makeRequests}) {
        if (fault.isEmpty()) {
            fault = (this->*part)();
        }
    }
    if (fault.isEmpty()) {
        fault = linkPrograms(folder);
    }
    return fault.isEmpty() ? copyImages() : fault;
}

QString TerminalRoot::requests() const
{
    return m_path + Announcement::file;
}

QString TerminalRoot::daemonLog() const
{
    return m_path
        + SettingsFile(at("/etc/JovApplication/platform.ini")).value(QStringLiteral("log"), QStringLiteral("file"));
}

QString TerminalRoot::linkPrograms(const QString &terminal) const
{
    QSettings list(at("/modules.ini"), QSettings::IniFormat);
    list.beginGroup(modulesSection);
    QStringList names = list.childKeys();
    const QDir configurations(at("/etc/JovApplication/module"));
    for (const QString &name : configurations.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        if (!names.contains(name) && configurations.exists(name + QStringLiteral("/config.xml"))) {
            names.append(name);
        }
    }
    for (const QString &name : qAsConst(names)) {
        const QString module = at("/usr/lib/JovApplication/") + name;
        const QString player = list.value(name, samplePlayer).toString();
        if (QFile::exists(module) && !QFileInfo(module).isSymLink()) {
            continue;
        }
        const bool isPath = player.contains(QLatin1Char('/'));
        const QString program = isPath ? QDir(terminal).absoluteFilePath(player) : Installation::program(player);
        if (!QFileInfo(program).isExecutable()) {
            return QStringLiteral("%1, which is to play the module %2, is not there").arg(program, name);
        }
        QFile::remove(module);
        if (!QFile::link(program, module)) {
            return QStringLiteral("%1 cannot be made").arg(module);
        }
    }
    return {};
}

QString TerminalRoot::copyImages() const
{
    const QDir images(Installation::images());
    for (const QString &name : images.entryList({QStringLiteral("*.jpg")})) {
        const QString fault = copyTree(images.filePath(name), at("/usr/bin/JovApplication/") + name);
        if (!fault.isEmpty()) {
            return fault;
        }
    }
    return {};
}

QString TerminalRoot::writeStandIns() const
{
    // What is on the screen of the terminal, as a file to look at.
    const char picture[] = "for picture in \"$@\"; do :; done\ncp \"$picture\" \"$root/run/framebuffer.jpg\"";
    const QString fault = writeFile(at("/usr/bin/jpg2fb"), script("../..", "jpg2fb", picture), true);
    return fault.isEmpty() ? writeFile(at("/sbin/reboot"), script("..", "reboot", ""), true) : fault;
}

QString TerminalRoot::writeBusConfig() const
{
    return writeFile(busConfig(), privateBusConfiguration(QStringLiteral("unix:path=") + busSocket()), false);
}

QString TerminalRoot::makeRequests() const
{
    QFile file(requests());
    return file.open(QIODevice::WriteOnly | QIODevice::Append)
        ? QString()
        : QStringLiteral("%1 cannot be written: %2").arg(file.fileName(), file.errorString());
}

/// Complaints are read in the log: it must go to a file.
QString TerminalRoot::adjustLog() const
{
    const QString section = QStringLiteral("log");
    const QString file = QStringLiteral("file");
    const SettingsFile parameters(at("/etc/JovApplication/platform.ini"));
    bool written = QDir().mkpath(at("/etc/JovApplication"));
    if (written && !parameters.value(section, file).startsWith(QLatin1Char('/'))) {
        written = parameters.setValue(section, file, QStringLiteral("/var/log/ApplicationManager.log"));
    }
    return written ? QString() : QStringLiteral("%1 cannot be written").arg(at("/etc/JovApplication/platform.ini"));
}
