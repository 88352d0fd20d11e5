#include "TerminalFiles.h"

#include "ConfigReader.h"
#include "JovRoot.h"
#include "ModulePaths.h"
#include "XmlFile.h"

#include <QDir>
#include <QFile>

TerminalFiles TerminalFiles::read()
{
    TerminalFiles files;
    files.readSteps();
    files.readModules();
    files.readStepFile();
    return files;
}

QString TerminalFiles::lastStep() const
{
    for (int i = steps.size() - 1; i >= 0; --i) {
        if (reaches(steps.at(i))) {
            return steps.at(i).name;
        }
    }
    return {};
}

QStringList TerminalFiles::expectedModules() const
{
    QStringList names;
    for (const Step &step : steps) {
        if (reaches(step)) {
            names += stepOfModule.keys(step.name);
        }
    }
    return names;
}

void TerminalFiles::readSteps()
{
    const QString path = ModulePaths::rootedConfigDirectory() + QStringLiteral("ApplicationManager/initStep.xml");
    const XmlFile file = readXmlFile(path, QStringLiteral("initStep"));
    const QDomElement root = file.document.documentElement();
    if (file.result != XmlFile::Result::Ok || root.tagName() != QLatin1String("initStep")) {
        return;
    }
    int tail = -1;
    for (QDomElement element = root.firstChildElement(QStringLiteral("step")); !element.isNull();
         element = element.nextSiblingElement(QStringLiteral("step"))) {
        if (element.hasAttribute(QStringLiteral("name")) && element.hasAttribute(QStringLiteral("value"))) {
            addStep(element.attribute(QStringLiteral("name")), element.attribute(QStringLiteral("value")).toInt(),
                    tail);
        }
    }
    const int last = tail < 0 ? 0 : steps.at(tail).value;
    addStep(defaultInitStep, last >= goesOn ? last + 1 : goesOn, tail);
}

/// The chain as the supervisor links it: a step below the head becomes head and tail, and what follows cuts off the
/// rest.
void TerminalFiles::addStep(const QString &name, int value, int &tail)
{
    for (const Step &step : qAsConst(steps)) {
        if (step.name == name || step.value == value) {
            return;
        }
    }
    int place = 0;
    while (place < steps.size() && steps.at(place).value < value) {
        ++place;
    }
    const bool atTail = !steps.isEmpty() && tail >= 0 && value > steps.at(tail).value;
    if (atTail) {
        steps = steps.mid(0, tail + 1);
        place = steps.size();
    }
    const bool first = steps.isEmpty();
    steps.insert(place, {name, value});
    if (place == 0 && !first) {
        tail = 0;
    } else if (!first && (atTail || tail < 0)) {
        tail = place;
    } else if (tail >= place && !first) {
        ++tail;
    }
}

void TerminalFiles::readModules()
{
    const QStringList names = QDir(ModulePaths::rootedModuleDirectory()).entryList(QDir::Files);
    for (const QString &name : names) {
        ApplicationRecord record;
        record.setName(name);
        readConfig(record, QString());
        const bool usable = record.getStatus() == ConfigStatus::ok;
        stepOfModule.insert(name, usable ? record.getInitStep() : defaultInitStep);
    }
}

void TerminalFiles::readStepFile()
{
    QFile file(JovRoot::rooted(QStringLiteral("/tmp/step")));
    if (file.open(QIODevice::ReadOnly)) {
        target = QString::fromLatin1(file.readLine(64)).trimmed().toInt();
    }
}
