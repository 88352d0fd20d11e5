#include "catalogue/ApplicationRecord.h"

void ApplicationRecord::setModuleState(ModuleState state)
{
    m_moduleState = state;
    setState(stateText(state));
}

QString ApplicationRecord::processId() const
{
    const QString id = getID();
    return id == QLatin1String("0") ? QString() : id;
}

QString ApplicationRecord::toString() const
{
    const QChar separator = QLatin1Char(';');
    QString text = ApplicationConfig::toString();
    text += QStringLiteral(" ov:") + m_ov;
    text += QStringLiteral(" or:") + m_or;
    text += QStringLiteral(" need_upgrade:") + QString::number(m_needUpgrade ? 1 : 0);
    text += QStringLiteral(" initStep:") + m_initStep;
    text += QStringLiteral(" maxMemory:") + QString::number(m_maxMemory.figure());
    text += QStringLiteral(" depend:") + m_dependencies.join(separator);
    text += QStringLiteral(" extraArgs:") + m_extraArgs.join(separator);
    return text;
}
