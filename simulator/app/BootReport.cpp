#include "app/BootReport.h"

#include "contract/InspectionNames.h"

#include <QSaveFile>
#include <QXmlStreamWriter>

#include <algorithm>

namespace {

constexpr double microseconds = 1e6;

QString decimal(double seconds)
{
    return QString::number(seconds, 'f', 3);
}

void writeCase(QXmlStreamWriter &xml, const TestCase &one)
{
    xml.writeStartElement(QStringLiteral("testcase"));
    xml.writeAttribute(QStringLiteral("classname"), one.group);
    xml.writeAttribute(QStringLiteral("name"), one.name);
    xml.writeAttribute(QStringLiteral("time"), decimal(one.seconds));
    if (!one.failure.isEmpty()) {
        xml.writeStartElement(QStringLiteral("failure"));
        xml.writeAttribute(QStringLiteral("message"), one.failure);
        xml.writeEndElement();
    }
    xml.writeEndElement();
}

} // namespace

QString BootReport::reasonOf(const ModuleInfo &module)
{
    if (module.stateText.isEmpty()) {
        return QStringLiteral("never started: its step '%1' is not in the start-up").arg(module.step);
    }
    if (module.state == ModuleState::Starting) {
        return module.isLaunched() ? QStringLiteral("has not announced that it is ready")
                                   : QStringLiteral("its program could not be started");
    }
    if (module.exitedAt > 0) {
        return QStringLiteral("ended (%1)").arg(module.lastExit());
    }
    return module.starts == 0 ? QStringLiteral("was never started") : QStringLiteral("is ") + module.stateText;
}

TestCases BootReport::casesOf(const Boot &boot)
{
    TestCases cases;
    const QStringList missing = boot.missing();
    const QStringList expected = boot.expected();
    for (const QString &name : expected) {
        const ModuleInfo *module = findModule(boot.modules, name);
        const ModuleInfo info = module ? *module : ModuleInfo();
        cases.append({info.step, name, double(info.startDuration()) / microseconds,
                      missing.contains(name) ? reasonOf(info) : QString()});
    }
    if (!boot.isHeld()) {
        cases.append({QStringLiteral("boot"), QStringLiteral("home page"), 0,
                      boot.hasHomePage ? QString() : QStringLiteral("the home page was never shown")});
    }
    return cases;
}

bool BootReport::writeJunit(const QString &path, const TestCases &cases)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        return false;
    }
    double seconds = 0;
    for (const TestCase &one : cases) {
        seconds += one.seconds;
    }
    const auto failures =
        std::count_if(cases.begin(), cases.end(), [](const TestCase &one) { return !one.failure.isEmpty(); });
    QXmlStreamWriter xml(&file);
    xml.setAutoFormatting(true);
    xml.writeStartDocument();
    xml.writeStartElement(QStringLiteral("testsuite"));
    xml.writeAttribute(QStringLiteral("name"), QStringLiteral("jov-simulator"));
    xml.writeAttribute(QStringLiteral("tests"), QString::number(cases.size()));
    xml.writeAttribute(QStringLiteral("failures"), QString::number(failures));
    xml.writeAttribute(QStringLiteral("time"), decimal(seconds));
    for (const TestCase &one : cases) {
        writeCase(xml, one);
    }
    xml.writeEndDocument();
    return !xml.hasError() && file.commit();
}
