#ifndef JOV_EXCEPTION_H
#define JOV_EXCEPTION_H

#include <QString>

class JovModule;

/**
 * What the platform throws: always as a pointer (`throw new JovException(...)`), which whoever catches it deletes.
 * One that nobody catches ends in JovApplication, which logs and deletes it.
 */
class JovException
{
public:
    enum ErrorType { Unknown = 0, BusUnavailable = 1, RemoteCall = 2, InvalidArgument = 3, InvocationFailed = 4 };

    JovException(const JovModule *module, ErrorType type, const QString &message);

    /// The module that threw; not owned, may be null.
    [[nodiscard]] const JovModule *module() const { return m_module; }
    [[nodiscard]] ErrorType errorType() const { return m_type; }
    [[nodiscard]] QString message() const { return m_message; }

private:
    const JovModule *m_module;
    ErrorType m_type;
    QString m_message;
};

/// For whoever catches one and has nothing better to do: writes its message as an error line, and deletes it.
void logAndDelete(JovException *thrown);

#endif
