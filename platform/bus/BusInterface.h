#ifndef BUS_INTERFACE_H
#define BUS_INTERFACE_H

#include <QHash>
#include <QMetaMethod>
#include <QMetaProperty>
#include <QObject>
#include <QPointer>
#include <QVariant>
#include <QVector>

/**
 * What one object offers on the bus: the methods of one interface, found by name and exact signature, and its
 * properties. The table is built once.
 */
class BusInterface
{
public:
    struct Method
    {
        QMetaMethod slot;
        QByteArray signature; ///< of its arguments
        QVector<int> types; ///< of its parameters
    };

    /// All public slots, signals and properties of an object whose class names its interface and describes it, with
    /// Q_CLASSINFO "D-Bus Interface" and "D-Bus Introspection". Null for another class.
    [[nodiscard]] static BusInterface ofDescribed(QObject *object);
    /// The Q_SCRIPTABLE slots of an object whose class names its interface. Null when there are none.
    [[nodiscard]] static BusInterface ofScriptable(QObject *object);

    [[nodiscard]] bool isNull() const { return m_name.isEmpty(); }
    [[nodiscard]] QByteArray name() const { return m_name; }
    /// Null when it was destroyed.
    [[nodiscard]] QObject *object() const { return m_object; }
    [[nodiscard]] bool isDescribed() const { return m_isDescribed; }
    /// Null when there is no such method.
    [[nodiscard]] const Method *find(const QByteArray &member, const QByteArray &signature) const;
    /// The XML element of the interface.
    [[nodiscard]] QByteArray introspection() const;
    /// Invalid when there is no such property, or no such object any more.
    [[nodiscard]] QMetaProperty property(const QByteArray &name) const;
    [[nodiscard]] QVariantMap properties() const;

private:
    void addMethods(bool scriptableOnly);

    QByteArray m_name;
    QPointer<QObject> m_object;
    QMultiHash<QByteArray, Method> m_methods;
    QVector<QByteArray> m_order; ///< of the XML elements
    QByteArray m_description;
    bool m_isDescribed = false;
};

#endif
