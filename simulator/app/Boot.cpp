#include "app/Boot.h"

#include <QFile>

Boot Boot::begin(const QString &root)
{
    Boot boot;
    QFile file(root + QStringLiteral("/tmp/step"));
    if (file.open(QIODevice::ReadOnly)) {
        boot.target = QString::fromLocal8Bit(file.readLine(64)).trimmed().toInt();
    }
    return boot;
}

QString Boot::lastStep() const
{
    QString last;
    for (const StepInfo &step : steps) {
        last = !isHeld() || step.value <= target ? step.name : last;
    }
    return last;
}

QStringList Boot::expected() const
{
    if (!isHeld()) {
        return moduleNames(modules);
    }
    QStringList names;
    for (const StepInfo &step : steps) {
        names += step.value <= target ? step.modules : QStringList();
    }
    return names;
}

QStringList Boot::missing() const
{
    QStringList names;
    const QStringList all = expected();
    for (const QString &name : all) {
        if (moduleParts.value(name).state != ModuleState::Running) {
            names << name;
        }
    }
    return names;
}

QString Boot::waitingFor() const
{
    for (auto part = moduleParts.cbegin(); part != moduleParts.cend(); ++part) {
        if (part->state == ModuleState::Starting || part->state == ModuleState::WebClientStarted) {
            return part.key();
        }
    }
    return {};
}
