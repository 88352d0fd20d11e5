#include "verify/ProgramCheck.h"

#include "catalogue/ModulePaths.h"
#include "contract/Components.h"
#include "verify/ProgramFile.h"

#include <jov/BusNames.h>
#include <jov/JovRoot.h>

#include <QDir>
#include <QMap>

namespace {

/// Modules by the architecture of their program.
using Architectures = QMap<QString, QStringList>;

Place placeOf(const QString &name)
{
    return {ModulePaths::rootedModuleDirectory() + name, 0, name};
}

void checkProgram(const ProgramFile &program, const Place &place, Findings &findings)
{
    if (!program.executable) {
        findings.error(
            place, QStringLiteral("cannot be executed: the module is never started"),
            QStringLiteral("run chmod 755, or remove it: every regular file in this directory is treated as a module"));
    } else if (program.kind == ProgramFile::Kind::Elf && !program.loadable) {
        findings.error(place, QStringLiteral("is an ELF file, but not a program"),
                       QStringLiteral("install the linked program"));
    } else if (program.kind == ProgramFile::Kind::Other) {
        findings.error(place, QStringLiteral("is neither a program nor a script with an interpreter line"),
                       QStringLiteral("begin a script with \"#!/bin/sh\""));
    }
}

// The terminal is assumed to be the machine that most modules are built for.
void checkArchitectures(const Architectures &architectures, Findings &findings)
{
    QString most;
    bool tie = false;
    for (auto it = architectures.begin(); it != architectures.end(); ++it) {
        const int count = it->size();
        const int best = architectures.value(most).size();
        tie = count == best || (tie && count < best);
        most = count > best ? it.key() : most;
    }
    if (tie) {
        findings.warning(
            {ModulePaths::rootedModuleDirectory(), 0, QString()},
            QStringLiteral("the modules are built for different machines, none of them for most modules: %1")
                .arg(QStringList(architectures.keys()).join(QStringLiteral("; "))),
            QStringLiteral("build all modules for the terminal"));
        return;
    }
    for (auto it = architectures.begin(); it != architectures.end(); ++it) {
        for (const QString &name : it.key() == most ? QStringList() : *it) {
            findings.error(placeOf(name),
                           QStringLiteral("is built for %1, but %2 other modules for %3")
                               .arg(it.key(), QString::number(architectures.value(most).size()), most),
                           QStringLiteral("build it for %1").arg(most));
        }
    }
}

// Names that differ only in characters that the bus does not permit become the same bus name.
void checkBusNames(const QStringList &names, Findings &findings)
{
    QMap<QString, QString> owners{{BusNames::service(Components::applicationManager), QStringLiteral("the daemon")}};
    for (const QString &name : names) {
        QString &owner = owners[BusNames::service(name)];
        if (!owner.isEmpty()) {
            findings.warning(placeOf(name),
                             QStringLiteral("its bus name, %1, is also that of %2").arg(BusNames::service(name), owner),
                             QStringLiteral("rename one of them"));
        }
        owner = QStringLiteral("'%1'").arg(name);
    }
}

} // namespace

QStringList checkPrograms(Findings &findings)
{
    QStringList names;
    const QDir directory(ModulePaths::rootedModuleDirectory());
    if (!directory.exists()) {
        findings.error({ModulePaths::rootedModuleDirectory(), 0, QString()},
                       QStringLiteral("the module directory is missing: the daemon does not start"),
                       QStringLiteral("create it, and install the modules in it"));
        return names;
    }
    // QDir::System adds FIFOs, devices, and links that are broken on this machine.
    QStringList entries = directory.entryList(QDir::Files | QDir::System);
    entries.sort();
    Architectures architectures;
    for (const QString &name : qAsConst(entries)) {
        const ProgramFile program = readProgramFile(directory.filePath(name), JovRoot::prefix());
        if (program.kind == ProgramFile::Kind::Missing || program.kind == ProgramFile::Kind::Special) {
            const bool missing = program.kind == ProgramFile::Kind::Missing;
            findings.warning(placeOf(name),
                             missing ? QStringLiteral("is a broken link, ignored")
                                     : QStringLiteral("is not a regular file, ignored"),
                             QStringLiteral("install the program, or remove it"));
            continue;
        }
        names << name;
        checkProgram(program, placeOf(name), findings);
        if (program.kind == ProgramFile::Kind::Elf) {
            architectures[program.architecture] << name;
        }
    }
    checkArchitectures(architectures, findings);
    checkBusNames(names, findings);
    return names;
}
