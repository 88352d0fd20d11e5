#ifndef GATE_H
#define GATE_H

#include "app/BootReport.h"

#include <QStringList>

class TerminalRoot;

/// The check of the set's files before it is booted: `jovctl verify`, with the programs that the simulator has added.
class Gate
{
public:
    /// Reads the files of the terminal. `isStrict`: warnings are treated as errors.
    Gate(const TerminalRoot &root, bool isStrict);

    /// The findings and what the simulator plays, for people.
    [[nodiscard]] const QStringList &lines() const { return m_lines; }
    [[nodiscard]] bool isPassed() const { return m_failures == 0; }
    [[nodiscard]] const TestCases &cases() const { return m_cases; }

private:
    QStringList m_lines;
    TestCases m_cases;
    int m_failures = 0;
};

#endif
