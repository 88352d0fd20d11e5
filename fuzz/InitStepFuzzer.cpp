#include "FuzzRoot.h"
#include "initstep/InitStepFile.h"
#include "verify/StepTable.h"

namespace {

// A file has fewer than a megabyte, and a step more than ten letters.
constexpr int mostSteps = 100000;

void walkChain(const InitStepChain &chain)
{
    int count = 0;
    for (const InitStep *step = chain.firstStep; step; step = step->getNext()) {
        require(++count < mostSteps, "the chain never ends");
        require(chain.getStepByValue(step->getValue()) != nullptr, "a step of the chain is not found by its value");
    }
    count = 0;
    for (const InitStep *step = chain.last(); step; step = step->getPrev()) {
        require(++count < mostSteps, "the chain never begins");
    }
}

// The operator's command reads the same file: it must see the same chain, and tell a fault of the whole once.
void compareWithCheck(const InitStepChain &chain)
{
    StepTable table;
    Findings findings;
    const bool read = table.read(findings);
    require(read == (chain.firstStep != nullptr), "two readings of a file differ");
    require(read || findings.sorted().size() == 1, "a file that cannot be used is not told once");
    const InitStep *step = chain.firstStep;
    for (const InitStep *same : table.chain()) {
        require(step && same->getName() == step->getName() && same->getValue() == step->getValue(),
                "the check sees another chain than the daemon");
        step = step ? step->getNext() : nullptr;
    }
    require(!read || !step, "the check sees a part of the chain");
}

} // namespace

// The table of steps, and the chain that is made of it, by the daemon and by the operator's command.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    FuzzRoot::write(QStringLiteral("/etc/JovApplication/module/ApplicationManager/initStep.xml"), data, size);
    InitStepChain chain;
    const bool parsed = parseInitStep(chain, QStringLiteral("ApplicationManager"));
    require(parsed == (chain.firstStep != nullptr), "steps of a file that cannot be used, or none of one that can");
    walkChain(chain);
    compareWithCheck(chain);
    chain.clearInitSteps();
    require(chain.firstStep == nullptr && chain.lastStep == nullptr, "steps are left after all were cleared");
    return 0;
}
