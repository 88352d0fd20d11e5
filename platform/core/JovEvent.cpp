#include <jov/JovEvent.h>

JovEvent::JovEvent(const QString &name, const QVariantMap &arguments)
    : m_name(name)
    , m_arguments(arguments)
{ }
