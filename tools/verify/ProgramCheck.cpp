#include "verify/ProgramCheck.h"

#include "catalogue/ModulePaths.h"
#include "contract/Components.h"
#include "system/RegularFile.h"
#include "verify/ExecCheck.h"

#include <jov/BusNames.h>
#include <jov/JovRoot.h>

#include <QMap>

namespace {

/// The longest name that the bus accepts.
constexpr int longestBusName = 255;
constexpr qint64 largestScript = 1 << 16;

/// Modules by the architecture of their program.
using Architectures = QMap<QString, QStringList>;

Place placeOf(const QString &name)
{
    return {ModulePaths::rootedModuleDirectory() + name, 0, name};
}

/// The checks of all programs in the module directory.
class ProgramCheck
{
public:
    ProgramCheck(const QStringList &played, Findings &findings)
        : m_played(played)
        , m_findings(findings)
    { }

    Programs run()
    {
        const RootFile directory(ModulePaths::moduleDirectory());
        if (!directory.isDirectory()) {
            m_findings.add(Rule::ModuleDirectory, {ModulePaths::rootedModuleDirectory(), 0, QString()},
                           QStringLiteral("the module directory is missing: the daemon does not start"),
                           QStringLiteral("create it, and install the modules in it"));
            return m_programs;
        }
        const QStringList entries = directory.entries();
        for (const QString &name : entries) {
            if (!name.startsWith(QLatin1Char('.'))) {
                checkEntry(name);
            }
        }
        for (const QString &name : m_played) {
            if (!m_programs.names.contains(name)) {
                m_programs.names << name;
                m_binaries.insert(name);
            }
        }
        m_programs.names.sort();
        checkArchitectures();
        checkBusNames();
        checkPartialRoot();
        return m_programs;
    }

private:
    void checkEntry(const QString &name)
    {
        const RootFile program(ModulePaths::moduleDirectory() + name);
        if (program.isDirectory() || (!program.isRegular() && m_played.contains(name))) {
            return;
        }
        if (!program.isRegular()) {
            // The daemon lists links to devices and the like, but not these themselves.
            if (program.exists() && program.isLink()) {
                m_programs.names << name;
                m_programs.lost.insert(name);
                m_findings.add(Rule::ProgramFormat, placeOf(name), QStringLiteral("is a link to a special file"),
                               QStringLiteral("remove it"));
                return;
            }
            if (program.exists()) {
                m_findings.add(Rule::ProgramIgnored, placeOf(name), QStringLiteral("is not a regular file, ignored"),
                               QStringLiteral("remove it"));
                return;
            }
            m_programs.broken << name;
            m_findings.add(Rule::ProgramMissing, placeOf(name),
                           QStringLiteral("is a broken link in this root: the module is never started"),
                           QStringLiteral("install the program inside the root, or remove the link"));
            return;
        }
        m_programs.names << name;
        if (const std::optional<ExecCheck::Fault> fault = m_exec.check(program)) {
            m_findings.add(fault->rule, placeOf(name), fault->message, fault->advice);
            if (infoOf(fault->rule).severity == Severity::Error) {
                m_programs.lost.insert(name);
            }
        }
        const QString architecture = ExecCheck::architectureOf(program);
        if (!architecture.isEmpty()) {
            m_binaries.insert(name);
            m_architectures[architecture] << name;
        } else if (RegularFile(program.openName()).read(largestScript).value_or(QByteArray()).contains("jov-run")) {
            m_takers.insert(name);
        }
    }

    // Without a system in the root, the terminal is assumed to be the machine that most modules are built for.
    void checkArchitectures()
    {
        if (!m_exec.architecture().isEmpty() || m_architectures.size() < 2) {
            return;
        }
        QString most;
        bool isTied = false;
        for (auto it = m_architectures.cbegin(); it != m_architectures.cend(); ++it) {
            const int best = m_architectures.value(most).size();
            isTied = it->size() == best || (isTied && it->size() < best);
            most = it->size() > best ? it.key() : most;
        }
        if (isTied) {
            m_findings.add(Rule::ProgramArchitecture, {ModulePaths::rootedModuleDirectory(), 0, QString()},
                           QStringLiteral("the modules are built for different machines, none of them for most: %1")
                               .arg(QStringList(m_architectures.keys()).join(QStringLiteral("; "))),
                           QStringLiteral("build all modules for the terminal"));
        }
        for (auto it = m_architectures.cbegin(); it != m_architectures.cend() && !isTied; ++it) {
            for (const QString &name : it.key() == most ? QStringList() : *it) {
                m_findings.add(Rule::ProgramArchitecture, placeOf(name),
                               QStringLiteral("is built for %1, but %2 other modules for %3")
                                   .arg(it.key(), QString::number(m_architectures.value(most).size()), most),
                               QStringLiteral("build it for %1").arg(most));
                m_programs.lost.insert(name);
            }
        }
    }

    // Names that differ only in characters that the bus does not permit become the same bus name. A program that uses
    // the platform ends if it cannot take its name; a script may have none.
    void checkBusNames()
    {
        const QString daemon = Components::applicationManager;
        QMap<QString, QString> owners{{BusNames::service(daemon), daemon}};
        for (const QString &name : qAsConst(m_programs.names)) {
            const QString service = BusNames::service(name);
            const QString owner = owners.value(service);
            owners.insert(service, name);
            if (owner.isEmpty() && service.size() <= longestBusName) {
                continue;
            }
            const bool isTaken = m_binaries.contains(name)
                && (owner.isEmpty() || owner == daemon || m_binaries.contains(owner) || m_takers.contains(owner));
            m_findings.add(isTaken ? Rule::BusNameTaken : Rule::BusNameShared, placeOf(name),
                           owner.isEmpty()
                               ? QStringLiteral("its bus name is longer than %1 characters").arg(longestBusName)
                               : QStringLiteral("its bus name, %1, is also that of '%2'").arg(service, owner),
                           QStringLiteral("rename the module"));
        }
    }

    void checkPartialRoot()
    {
        if (m_exec.unchecked() > 0) {
            m_findings.add(
                Rule::PartialRoot, {JovRoot::rooted(QStringLiteral("/")), 0, QString()},
                QStringLiteral("the root has no shell and no dynamic loader, so the interpreters and libraries of %1 "
                               "modules were not checked")
                    .arg(m_exec.unchecked()),
                QStringLiteral("check the complete root file system of the terminal"));
        }
    }

    const QStringList m_played;
    Findings &m_findings;
    ExecCheck m_exec;
    Programs m_programs;
    QSet<QString> m_binaries; ///< the modules that are no scripts
    QSet<QString> m_takers; ///< scripts with jov-run: it takes the bus name if it is free
    Architectures m_architectures;
};

} // namespace

Programs checkPrograms(const QStringList &played, Findings &findings)
{
    return ProgramCheck(played, findings).run();
}
