#include <jov/JovException.h>
#include <jov/Log.h>

#include <memory>

JovException::JovException(const JovModule *module, ErrorType type, const QString &message)
    : m_module(module)
    , m_type(type)
    , m_message(message)
{ }

void logAndDelete(JovException *thrown)
{
    const std::unique_ptr<JovException> exception(thrown);
    Log::error("%1", exception->message());
}
