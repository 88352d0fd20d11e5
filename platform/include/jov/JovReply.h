#ifndef JOV_REPLY_H
#define JOV_REPLY_H

#include <QString>
#include <QVariant>

/**
 * What a remote call has brought: the results of the method, or an error. A result is a number, a QString, a
 * QByteArray, a QStringList, a QVariantList (also for a structure) or a QVariantMap.
 */
class JovReply
{
public:
    explicit JovReply(const QVariantList &arguments = QVariantList())
        : m_arguments(arguments)
    { }
    /// `errorName` as the bus has it: `org.freedesktop.DBus.Error.NoReply`.
    JovReply(const QString &errorName, const QString &errorText)
        : m_errorName(errorName)
        , m_errorText(errorText)
    { }

    [[nodiscard]] bool isError() const { return !m_errorName.isEmpty(); }
    [[nodiscard]] QString errorName() const { return m_errorName; }
    [[nodiscard]] QString errorText() const { return m_errorText; }
    [[nodiscard]] QVariantList arguments() const { return m_arguments; }

private:
    QVariantList m_arguments;
    QString m_errorName;
    QString m_errorText;
};

#endif
