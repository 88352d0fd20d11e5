#ifndef BOOT_REPORT_H
#define BOOT_REPORT_H

#include "app/Boot.h"

#include <QList>
#include <QString>

/// What was checked, and what is wrong with it, for JUnit.
struct TestCase
{
    QString group;
    QString name;
    double seconds = 0;
    QString failure; ///< empty: nothing
};

using TestCases = QList<TestCase>;

namespace BootReport {

/// Why a module that should run does not, in one line.
[[nodiscard]] QString reasonOf(const ModuleInfo &module);

/// A case for each module that the boot should start, and one for the home page.
[[nodiscard]] TestCases casesOf(const Boot &boot);

/// Writes them as JUnit's XML. False if the file cannot be written.
[[nodiscard]] bool writeJunit(const QString &path, const TestCases &cases);

} // namespace BootReport

#endif
