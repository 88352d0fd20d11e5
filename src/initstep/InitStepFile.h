#ifndef INIT_STEP_FILE_H
#define INIT_STEP_FILE_H

#include <QString>

class InitStepChain;
class XmlElement;

/**
 * Reads `/etc/JovApplication/module/MODULENAME/initStep.xml` into the chain:
 *
 *     <initStep>
 *         <step name="infra" value="1" parallel="true"/>
 *         <step name="desk" value="6" show_homepage="true"/>
 *     </initStep>
 *
 * Modules that name no step go into the step "default", which is added after the last one when the file has none.
 * `parallel` on the root element is the default of all steps.
 * False, with the chain empty, when the file is missing, unreadable, not parsable or has another root element.
 */
[[nodiscard]] bool parseInitStep(InitStepChain &chain, const QString &moduleName);

/// Adds the steps of a root element `<initStep>`, and the step "default".
void addSteps(InitStepChain &chain, const XmlElement &root);

#endif
