#include "verify/ProgramCheck.h"

#include "catalogue/ModulePaths.h"
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

QString number(int count)
{
    return QString::number(count);
}

void checkProgram(const ProgramFile &program, const Place &place, Findings &findings)
{
    if (!program.executable) {
        findings.error(place, QStringLiteral("cannot be executed: the module is never started"),
                       QStringLiteral("chmod 755, or take it out: every plain file in this folder counts as a module"));
    } else if (program.kind == ProgramFile::Kind::Elf && !program.loadable) {
        findings.error(place, QStringLiteral("is an ELF file, but no program"),
                       QStringLiteral("install the linked program"));
    } else if (program.kind == ProgramFile::Kind::Other) {
        findings.error(place, QStringLiteral("is neither a program nor a script that names its interpreter"),
                       QStringLiteral("begin a script with \"#!/bin/sh\""));
    }
}

// What most are built for is what the terminal has.
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
            QStringLiteral("the modules are built for different machines, as many for one as for another: %1")
                .arg(QStringList(architectures.keys()).join(QStringLiteral("; "))),
            QStringLiteral("build them all for the terminal's"));
        return;
    }
    for (auto it = architectures.begin(); it != architectures.end(); ++it) {
        for (const QString &name : it.key() == most ? QStringList() : *it) {
            findings.error(placeOf(name),
                           QStringLiteral("is built for %1, the others (%2) for %3")
                               .arg(it.key(), number(architectures.value(most).size()), most),
                           QStringLiteral("build it for %1").arg(most));
        }
    }
}

// Components whose names differ only in characters that the bus does not allow would claim one name.
void checkBusNames(const QStringList &names, Findings &findings)
{
    const QString manager = QStringLiteral("ApplicationManager");
    QMap<QString, QString> owners{{BusNames::service(manager), QStringLiteral("the daemon")}};
    for (const QString &name : names) {
        QString &owner = owners[BusNames::service(name)];
        if (!owner.isEmpty()) {
            findings.warning(
                placeOf(name),
                QStringLiteral("would take the bus name %1, which is that of %2").arg(BusNames::service(name), owner),
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
                       QStringLiteral("install the modules there"));
        return names;
    }
    // With the filter's System come FIFOs, devices, and links that lead nowhere or only inside the root.
    QStringList entries = directory.entryList(QDir::Files | QDir::System);
    entries.sort();
    Architectures architectures;
    for (const QString &name : qAsConst(entries)) {
        const ProgramFile program = readProgramFile(directory.filePath(name), JovRoot::prefix());
        if (program.kind == ProgramFile::Kind::Missing || program.kind == ProgramFile::Kind::Special) {
            const bool missing = program.kind == ProgramFile::Kind::Missing;
            findings.warning(placeOf(name),
                             missing ? QStringLiteral("is a link that leads nowhere: there is no such module")
                                     : QStringLiteral("is no plain file: there is no such module"),
                             QStringLiteral("install the program, or take it out"));
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
