#include "initstep/InitStepFile.h"

#include "catalogue/ModulePaths.h"
#include "catalogue/XmlFile.h"
#include "contract/FileNames.h"
#include "contract/Steps.h"
#include "initstep/InitStepChain.h"

#include <jov/JovRoot.h>
#include <jov/Log.h>

#include <limits>

namespace {

bool isTrue(const QString &text)
{
    return text == QLatin1String("true");
}

bool readSteps(InitStepChain &chain, const XmlElement &root)
{
    const QString parallel = root.attribute(StepsXml::parallel);
    bool hasDefault = false;
    for (XmlElement element = root.firstChildElement(StepsXml::step); !element.isNull();
         element = element.nextSiblingElement(StepsXml::step)) {
        if (!element.hasAttribute(StepsXml::name) || !element.hasAttribute(StepsXml::value)) {
            continue;
        }
        const QString name = element.attribute(StepsXml::name);
        const int value = element.attribute(StepsXml::value).toInt();
        const bool showHomepage = isTrue(element.attribute(StepsXml::showHomepage));
        InitStep *step = chain.addStep(name, value, showHomepage);
        if (step) {
            step->setParallel(isTrue(element.attribute(StepsXml::parallel, parallel)));
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
    if (root.tagName() != StepsXml::root) {
        return false;
    }
    addSteps(chain, root);
    return true;
}

void addSteps(InitStepChain &chain, const XmlElement &root)
{
    if (!readSteps(chain, root)) {
        if (InitStep *step = chain.addStep(Steps::defaultName, defaultStepValue(chain), false)) {
            step->setParallel(isTrue(root.attribute(StepsXml::parallel)));
        }
    }
}
