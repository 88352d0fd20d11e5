#include "app/TerminalRoot.h"

#include "app/Installation.h"
#include "bus/PrivateBus.h"
#include "client/NearMiss.h"
#include "components/SettingsFile.h"
#include "contract/Components.h"
#include "root/PlatformIni.h"
#include "supervision/Parameters.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSettings>
#include <QTemporaryDir>
#include <QUuid>

#include <filesystem>
#include <system_error>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/un.h>

namespace {

const QString logSection = QStringLiteral("log");
const QString logFile = QStringLiteral("file");
constexpr int linesPrinted = 5;

// The replacements for the terminal's own commands; components/Announcement.h has the names of the signals.
const char rebootScript[] = R"(#!/bin/sh
# Reports the call to the simulator, which stops the terminal and boots it again.
exec dbus-send --system --type=signal /simulator com.velmora.Jovara.Simulator.RebootRequested \
    string:reboot string:"called with $*"
)";
const char pictureScript[] = R"(#!/bin/sh
# Copies the picture to run/framebuffer.jpg, the screen of the terminal, and reports it to the simulator.
for picture in "$@"; do :; done
cp "$picture" "$(dirname "$0")/../../run/framebuffer.jpg"
exec dbus-send --system --type=signal /simulator com.velmora.Jovara.Simulator.PictureShown \
    string:screen string:"shows ${picture##*/}"
)";

QString playerOf(const QString &module)
{
    return module == Components::platform       ? QStringLiteral("platform-component")
        : module == Components::settingsManager ? QStringLiteral("settings-component")
                                                : QStringLiteral("sample-module");
}

QString writeFile(const QString &path, const QByteArray &text)
{
    QFile file(path);
    const bool written = file.open(QIODevice::WriteOnly) && file.write(text) == text.size();
    file.setPermissions(file.permissions() | QFile::ExeOwner | QFile::ExeGroup | QFile::ExeOther);
    return written ? QString() : QStringLiteral("cannot write %1: %2").arg(path, file.errorString());
}

QString copyTree(const QString &from, const QString &to)
{
    using Options = std::filesystem::copy_options;
    std::error_code error;
    std::filesystem::copy(QFile::encodeName(from).toStdString(), QFile::encodeName(to).toStdString(),
                          Options::recursive | Options::overwrite_existing | Options::copy_symlinks, error);
    return error ? QStringLiteral("cannot copy %1 to %2: %3").arg(from, to, QString::fromStdString(error.message()))
                 : QString();
}

/// Nobody else may use the directory until this process and those that it forks have ended.
bool lock(const QString &path)
{
    const int descriptor = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    return descriptor >= 0 && flock(descriptor, LOCK_EX | LOCK_NB) == 0;
}

} // namespace

QString TerminalRoot::open(const QString &wanted)
{
    m_kept = !wanted.isEmpty();
    if (m_kept) {
        m_path = QDir(wanted).absolutePath();
        m_filled = QFile::exists(busConfig());
        if (!m_filled && QDir(m_path).exists()
            && !QDir(m_path).isEmpty(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot)) {
            return QStringLiteral("%1 is not empty and was not created by the simulator; choose another directory")
                .arg(m_path);
        }
    } else {
        QTemporaryDir folder(QDir::tempPath() + QStringLiteral("/jov-terminal-XXXXXX"));
        folder.setAutoRemove(false);
        if (!folder.isValid()) {
            return folder.errorString();
        }
        m_path = folder.path();
    }
    for (const char *folder :
         {"/run", "/usr/lib/JovApplication", "/usr/libexec/jov-simulator", "/usr/bin/JovApplication", "/sbin",
          "/etc/JovApplication", "/var/log", "/log", "/data/core", "/tmp"}) {
        if (!QDir().mkpath(at(folder))) {
            return QStringLiteral("cannot create %1").arg(at(folder));
        }
    }
    if (!lock(m_path)) {
        return QStringLiteral("another simulator is using %1; choose another directory").arg(m_path);
    }
    if (static_cast<std::size_t>(QFile::encodeName(busSocket()).size()) >= sizeof(sockaddr_un::sun_path)) {
        return QStringLiteral("%1: the path is too long for a socket; choose a shorter one with --root").arg(m_path);
    }
    QFile::remove(busSocket());
    return {};
}

QString TerminalRoot::fill(const QString &terminal)
{
    QString fault = findSet(terminal);
    if (fault.isEmpty() && !m_filled && m_set == Installation::terminal(QStringLiteral("parallel"))) {
        // This set has only the files that differ from those of the standard terminal.
        fault = copyTree(Installation::terminal(QString()), m_path);
    }
    if (fault.isEmpty() && !m_filled) {
        fault = copyTree(m_set, m_path);
    }
    if (fault.isEmpty()) {
        fault = writeFiles();
    }
    return fault.isEmpty() ? installPrograms() : fault;
}

QString TerminalRoot::findSet(const QString &terminal)
{
    m_set = terminal;
    if (terminal.isEmpty() || (!terminal.contains(QLatin1Char('/')) && !QDir(terminal).exists())) {
        m_set = Installation::terminal(terminal);
    }
    QDir folder(m_set);
    if (!folder.exists()) {
        // The first part of the path that does not exist is the wrong one.
        QString name;
        for (folder.setPath(QDir::cleanPath(QDir(terminal).absolutePath())); !folder.exists();
             folder.setPath(QFileInfo(folder.path()).path())) {
            name = folder.dirName();
        }
        return QStringLiteral("%1: no such directory: %2 has no '%3'%4")
            .arg(terminal, folder.path(), name,
                 spellingHint(name, folder.entryList(QDir::Dirs | QDir::NoDotAndDotDot)));
    }
    return folder.exists(QStringLiteral("etc/JovApplication/module"))
        ? QString()
        : QStringLiteral("%1 is not the root directory of a terminal: it has no etc/JovApplication/module").arg(m_set);
}

QString TerminalRoot::inSet(const QString &text) const
{
    return m_kept ? text : QString(text).replace(m_path + QLatin1Char('/'), QDir::cleanPath(m_set) + QLatin1Char('/'));
}

QString TerminalRoot::daemonLog() const
{
    return m_path + SettingsFile(at("/etc/JovApplication/platform.ini")).value(logSection, logFile);
}

QStringList TerminalRoot::printed(const QString &module)
{
    return Parameters::read(PlatformIni::section(Components::applicationManager), [](const auto &, const auto &) {})
        .moduleOutput.lastLines(module, linesPrinted);
}

void TerminalRoot::drawBootId() const
{
    QFile file(at("/run/boot_id"));
    if (file.open(QIODevice::WriteOnly)) {
        file.write(QUuid::createUuid().toByteArray(QUuid::WithoutBraces) + '\n');
    }
}

QString TerminalRoot::writeFiles() const
{
    const SettingsFile parameters(at("/etc/JovApplication/platform.ini"));
    const QString manager = Components::applicationManager;
    const QString output = QStringLiteral("module_output");
    // The simulator reads warnings and errors in the log: it must go to a file.
    const bool hasLog = parameters.value(logSection, logFile).startsWith(QLatin1Char('/'))
        || parameters.setValue(logSection, logFile, QStringLiteral("/var/log/ApplicationManager.log"));
    const bool hasOutput = !parameters.value(manager, output).isNull()
        || parameters.setValue(manager, output, QStringLiteral("file:/var/log/modules/%n"));
    if (!hasLog || !hasOutput) {
        return QStringLiteral("cannot write %1").arg(at("/etc/JovApplication/platform.ini"));
    }
    for (const QString &fault :
         {copyTree(Installation::images(), at("/usr/bin/JovApplication")), writeFile(at("/sbin/reboot"), rebootScript),
          writeFile(at("/usr/bin/jpg2fb"), pictureScript),
          writeFile(busConfig(), privateBusConfiguration(busAddress()))}) {
        if (!fault.isEmpty()) {
            return fault;
        }
    }
    return {};
}

QString TerminalRoot::installPrograms()
{
    QSettings list(at("/modules.ini"), QSettings::IniFormat);
    list.beginGroup(QStringLiteral("modules"));
    QStringList names = list.childKeys();
    const int listed = names.size();
    const QDir configurations(at("/etc/JovApplication/module"));
    for (const QString &name : configurations.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        if (!names.contains(name) && configurations.exists(name + QStringLiteral("/config.xml"))) {
            names.append(name);
        }
    }
    const QDir modules(at("/usr/lib/JovApplication"));
    for (int i = 0; i < names.size(); ++i) {
        const QString &name = names.at(i);
        // A link is the set's own, unless an earlier run has created it.
        const QString target = QFile::symLinkTarget(modules.filePath(name));
        const bool isOurs = i < listed || target.contains(QLatin1String("/libexec/jov-simulator/"));
        if (target.isEmpty() ? modules.exists(name) : !isOurs) {
            continue;
        }
        m_played << name;
        m_standIns += i < listed ? QStringList() : QStringList(name);
        const QString fault = install(name, list.value(name, playerOf(name)).toString());
        if (!fault.isEmpty()) {
            return fault;
        }
    }
    return {};
}

// The programs of the simulator are copied: a link out of the root would be broken on a terminal.
QString TerminalRoot::install(const QString &name, const QString &player) const
{
    const QString module = at("/usr/lib/JovApplication/") + name;
    const bool isPath = player.contains(QLatin1Char('/'));
    const QString program = isPath ? QDir(m_set).absoluteFilePath(player) : Installation::program(player);
    if (!QFileInfo(program).isExecutable()) {
        return QStringLiteral("%1, the program of module %2, does not exist or is not executable").arg(program, name);
    }
    const QString copy = at("/usr/libexec/jov-simulator/") + player;
    if (!isPath && !QFile::exists(copy) && !QFile::copy(program, copy)) {
        return QStringLiteral("cannot create %1").arg(copy);
    }
    QFile::remove(module);
    const QString target = isPath ? program : QStringLiteral("../../libexec/jov-simulator/") + player;
    return QFile::link(target, module) ? QString() : QStringLiteral("cannot create %1").arg(module);
}
