#ifndef TERMINAL_FILES_H
#define TERMINAL_FILES_H

#include <QList>
#include <QMap>
#include <QString>

/**
 * What the files of a terminal say about the boot to come: the steps in their order and the step of each module. Read
 * from below JOV_ROOT, so that the simulator can show how far a boot is and what is missing.
 */
struct TerminalFiles
{
    struct Step
    {
        QString name;
        int value = 0;
    };

    QList<Step> steps;
    QMap<QString, QString> stepOfModule;
    /// The last number that the step file lets the boot reach; a boot that gets to 5 goes on by itself.
    int target = goesOn;

    static constexpr int goesOn = 5;

    [[nodiscard]] static TerminalFiles read();

    [[nodiscard]] bool reaches(const Step &step) const { return target >= goesOn || step.value <= target; }
    /// The step whose start ends the boot; empty when none is reached.
    [[nodiscard]] QString lastStep() const;
    /// The modules that the boot is to bring up.
    [[nodiscard]] QStringList expectedModules() const;

private:
    void readSteps();
    void addStep(const QString &name, int value, int &tail);
    void readModules();
    void readStepFile();
};

#endif
