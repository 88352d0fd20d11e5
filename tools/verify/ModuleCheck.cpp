#include "verify/ModuleCheck.h"

#include "catalogue/ConfigReader.h"
#include "catalogue/ModulePaths.h"
#include "catalogue/XmlFile.h"
#include "client/NearMiss.h"
#include "contract/Components.h"
#include "contract/FileNames.h"
#include "system/RegularFile.h"
#include "verify/RootFile.h"
#include "verify/StepTable.h"
#include "verify/XmlElements.h"

#include <QRegularExpression>
#include <QSet>

#include <algorithm>

namespace {

/// In bytes, with the end of each text: MAX_ARG_STRLEN, and a quarter of the usual limit of the stack.
constexpr int longestArgument = 128 * 1024;
constexpr int mostArguments = 2048 * 1024;

const QString byDefault =
    QStringLiteral("the module starts in the step 'default', without dependencies, arguments and memory limit");

bool isHidden(const QString &name)
{
    return name.startsWith(QLatin1Char('.'));
}

/// The configuration directories, except the one of the daemon and hidden ones of nobody.
QStringList configuredNames()
{
    QStringList names;
    const QStringList entries = RootFile(ModulePaths::configDirectory()).entries();
    for (const QString &name : entries) {
        const bool isOther = name == Components::applicationManager
            || (isHidden(name) && !RootFile(ModulePaths::moduleDirectory() + name).exists());
        if (!isOther && RootFile(ModulePaths::configDirectory() + name).isDirectory()) {
            names << name;
        }
    }
    return names;
}

QStringList without(QStringList names, const QStringList &others)
{
    const QSet<QString> taken(others.begin(), others.end());
    names.erase(std::remove_if(names.begin(), names.end(), [&](const QString &name) { return taken.contains(name); }),
                names.end());
    return names;
}

void checkPlacement(const InstalledModule &module, const StepTable &steps, Findings &findings)
{
    const QString name = module.record.getInitStep();
    const Place place = module.config.at(module.lines.initStep);
    const QString never = QStringLiteral("the module is never started");
    if (module.step) {
        if (!steps.isReached(*module.step)) {
            findings.add(Rule::StepUnknown, place,
                         QStringLiteral("its step '%1' is never reached: %2").arg(name, never),
                         QStringLiteral("correct the step in initStep.xml, or use another step"));
        }
    } else if (name.isEmpty()) {
        findings.add(Rule::StepUnknown, place, QStringLiteral("<initStep> is empty: %1").arg(never),
                     QStringLiteral("name a step, or remove the element to use the step 'default'"));
    } else if (steps.listed(name)) {
        findings.add(Rule::StepUnknown, place,
                     QStringLiteral("its step '%1' is dropped from the start-up: %2").arg(name, never),
                     QStringLiteral("correct the step in initStep.xml"));
    } else if (steps.listed(name.trimmed())) {
        findings.add(Rule::StepUnknown, place,
                     QStringLiteral("unknown step '%1' (spaces are significant): %2").arg(name, never),
                     QStringLiteral("write <initStep>%1</initStep> on one line").arg(name.trimmed()));
    } else {
        findings.add(Rule::StepUnknown, place, QStringLiteral("unknown step '%1': %2").arg(name, never),
                     findings.isFull(Rule::StepUnknown)
                         ? QString()
                         : QStringLiteral("use a step of initStep.xml%1").arg(spellingHint(name, steps.names())));
    }
}

void checkArguments(const InstalledModule &module, Findings &findings)
{
    const QString option = QStringLiteral("--moduleName=");
    qint64 sum = 0;
    qint64 longest = 0;
    const QStringList arguments = module.record.getExtraArgs();
    for (const QString &argument : arguments) {
        const int size = argument.toUtf8().size() + 1;
        longest = qMax<qint64>(longest, size);
        sum += size + int(sizeof(char *));
        if (argument.startsWith(option) && argument.mid(option.size()) != module.record.getName()) {
            findings.add(
                Rule::ArgumentName, module.config,
                QStringLiteral("the argument '%1' contradicts the name that the supervisor passes").arg(argument),
                QStringLiteral("remove it"));
        }
    }
    if (longest > longestArgument || sum > mostArguments) {
        findings.add(Rule::ArgumentsTooLong, module.config,
                     longest > longestArgument
                         ? QStringLiteral("an argument of %1 bytes: the module cannot be started").arg(longest - 1)
                         : QStringLiteral("arguments of %1 bytes: the module cannot be started").arg(sum),
                     QStringLiteral("the kernel accepts less than 128 KiB in one argument and 2 MiB in all"));
    }
}

/// The parser does not keep white space alone.
void checkBlanks(const InstalledModule &module, const QString &path, Findings &findings)
{
    static const QRegularExpression blank(QStringLiteral("<arg>\\s+</arg>"));
    const QString text = QString::fromUtf8(RegularFile(RootFile(path).openName()).read(1 << 20).value_or(QByteArray()));
    for (auto match = blank.globalMatch(text); match.hasNext();) {
        const int line = text.leftRef(match.next().capturedStart()).count(QLatin1Char('\n')) + 1;
        findings.add(Rule::ArgumentBlank, module.config.at(line),
                     QStringLiteral("an argument of white space alone is an empty one"),
                     QStringLiteral("write <arg><![CDATA[ ]]></arg>"));
    }
}

void readModule(InstalledModule &module, const QStringList &orphans, const QString &ddrSize, Findings &findings)
{
    const QString name = module.record.getName();
    const QString path = ModulePaths::configDirectory() + name + QStringLiteral("/config.xml");
    const XmlFile file = XmlElements::read(path);
    readConfig(module.record, file, ddrSize);
    if (file.result == XmlFile::Result::Missing) {
        findings.add(Rule::ConfigMissing, module.config, QStringLiteral("the file is missing: ") + byDefault,
                     QStringLiteral("create it%1").arg(spellingHint(name, orphans)));
        return;
    }
    const XmlElement root =
        XmlElements::rootOf(file, ConfigXml::root, Rule::ConfigUnusable, module.config, byDefault, findings);
    if (!root.isNull()) {
        module.lines = checkConfig(root, ddrSize, module.config, findings);
        checkArguments(module, findings);
        if (module.record.getExtraArgs().contains(QString())) {
            checkBlanks(module, path, findings);
        }
    }
}

void checkOrphan(const QString &name, const QStringList &unconfigured, Findings &findings)
{
    const QString path = ModulePaths::configDirectory() + name + QStringLiteral("/config.xml");
    if (RootFile(path).isRegular()) {
        findings.add(
            Rule::ProgramMissing, {JovRoot::rooted(path), 0, name},
            QStringLiteral("a configuration without a module: %1%2 %3")
                .arg(ModulePaths::moduleDirectory(), name,
                     isHidden(name) ? QStringLiteral("is hidden") : QStringLiteral("does not exist")),
            QStringLiteral("install the module, or remove the directory%1").arg(spellingHint(name, unconfigured)));
    }
}

} // namespace

InstalledModules checkModules(const Programs &programs, const StepTable *steps, const QString &ddrSize,
                              Findings &findings)
{
    const QStringList names = programs.names;
    const QStringList configured = configuredNames();
    const QStringList orphans = without(configured, names);
    InstalledModules modules;
    for (const QString &name : names) {
        InstalledModule module;
        module.config = {configPath(ApplicationType::Module, name), 0, name};
        module.record.setName(name);
        readModule(module, orphans, ddrSize, findings);
        module.step = steps ? steps->find(module.record.getInitStep()) : nullptr;
        if (steps) {
            checkPlacement(module, *steps, findings);
        }
        module.isLost = programs.lost.contains(name) || !module.step || (steps && !steps->isReached(*module.step));
        modules.insert(name, module);
    }
    const QStringList unconfigured = without(names, configured);
    for (const QString &name : without(orphans, programs.broken)) {
        checkOrphan(name, unconfigured, findings);
    }
    return modules;
}
