#include "JovException.h"

JovException::JovException(const JovModule *module, ErrorType type, const QString &message)
    : m_module(module)
    , m_type(type)
    , m_message(message)
{ }
