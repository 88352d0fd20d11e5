#ifndef BOOT_SUMMARY_H
#define BOOT_SUMMARY_H

#include <QJsonObject>

class InitStepChain;
class Journal;

/// How long the last start-up took, its steps and its modules, with the keys of History::Key.
[[nodiscard]] QJsonObject bootSummary(const Journal &journal, const InitStepChain &steps);

#endif
