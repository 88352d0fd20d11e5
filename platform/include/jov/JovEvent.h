#ifndef JOV_EVENT_H
#define JOV_EVENT_H

#include <QMetaType>
#include <QString>
#include <QVariant>

/**
 * A platform event: a name and named arguments. On the bus a signal of the interface `com.velmora.Jovara.JovEvent`,
 * member `event`, signature `sa{sv}`, from the object of its sender. Argument values are what D-Bus can carry in a
 * variant.
 */
class JovEvent
{
public:
    JovEvent() = default;
    explicit JovEvent(const QString &name, const QVariantMap &arguments = QVariantMap());

    void setEvtName(const QString &name) { m_name = name; }
    [[nodiscard]] QString getEvtName() const { return m_name; }
    void addArgument(const QString &name, const QVariant &value) { m_arguments.insert(name, value); }
    /// An invalid QVariant when there is no such argument.
    [[nodiscard]] QVariant getArgument(const QString &name) const { return m_arguments.value(name); }
    [[nodiscard]] QVariantMap arguments() const { return m_arguments; }

private:
    QString m_name;
    QVariantMap m_arguments;
};

Q_DECLARE_METATYPE(JovEvent)

#endif
