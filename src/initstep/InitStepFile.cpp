#include "initstep/InitStepFile.h"

#include "catalogue/ModulePaths.h"
#include "catalogue/XmlFile.h"
#include "contract/Steps.h"
#include "initstep/InitStepChain.h"

#include <jov/JovRoot.h>
#include <jov/Log.h>

#include <limits>

namespace {

const QString parallelAttribute = QStringLiteral("parallel");

bool isTrue(const QString &text)
{
    return text == QLatin1String("true");
}

bool readSteps(InitStepChain &chain, const XmlElement &root)
{
    const QString parallel = root.attribute(parallelAttribute);
    bool hasDefault = false;
    for (XmlElement element = root.firstChildElement(QStringLiteral("step")); !element.isNull();
         element = element.nextSiblingElement(QStringLiteral("step"))) {
        if (!element.hasAttribute(QStringLiteral("name")) || !element.hasAttribute(QStringLiteral("value"))) {
            continue;
        }
        const QString name = element.attribute(QStringLiteral("name"));
        const int value = element.attribute(QStringLiteral("value")).toInt();
        const bool showHomepage = isTrue(element.attribute(QStringLiteral("show_homepage")));
        InitStep *step = chain.addStep(name, value, showHomepage);
        if (step) {
            step->setParallel(isTrue(element.attribute(parallelAttribute, parallel)));
            hasDefault |= name == Steps::defaultName;
        }
    }
    return hasDefault;
}

int defaultStepValue(const InitStepChain &chain)
{
    if (!chain.lastStep || chain.lastStep->getValue() < Steps::firstOwn) {
        return Steps::firstOwn;
    }
    const int last = chain.lastStep->getValue();
    return last == std::numeric_limits<int>::max() ? last : last + 1;
}

} // namespace

bool parseInitStep(InitStepChain &chain, const QString &moduleName)
{
    chain.clearInitSteps();
    const QString path = JovRoot::rooted(ModulePaths::configDirectory() + moduleName + QStringLiteral("/initStep.xml"));
    Log::debug("InitStep File %1", path);
    const XmlFile file = readXmlFile(path);
    switch (file.result) {
    case XmlFile::Result::Missing:
        Log::warning("[parse InitStep] File %1 does not exist", path);
        return false;
    case XmlFile::Result::NotReadable:
        Log::warning("[parse InitStep] XML File not readable for application");
        return false;
    case XmlFile::Result::NotParsable:
        Log::warning("[parse InitStep] XML File not parsable");
        return false;
    case XmlFile::Result::Ok:
        break;
    }
    const XmlElement root = file.document.documentElement();
    if (root.tagName() != QLatin1String("initStep")) {
        return false;
    }
    addSteps(chain, root);
    return true;
}

void addSteps(InitStepChain &chain, const XmlElement &root)
{
    if (!readSteps(chain, root)) {
        if (InitStep *step = chain.addStep(Steps::defaultName, defaultStepValue(chain), false)) {
            step->setParallel(isTrue(root.attribute(parallelAttribute)));
        }
    }
}
