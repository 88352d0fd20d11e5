#ifndef BUS_OBJECT_H
#define BUS_OBJECT_H

#include "bus/BusInterface.h"
#include "bus/BusMessage.h"

#include <QObject>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

class BusConnection;
class SignalRelay;

/**
 * One object on the bus: answers the method calls to its path, and sends the signals of its interfaces.
 *
 * It offers the Q_SCRIPTABLE slots of `target` and the described interfaces of its children (BusInterface), and the
 * standard interfaces for introspection, properties and pings. A slot may turn the event loop for minutes; other calls
 * are answered meanwhile, and its own reply goes out when it returns, unless the connection is another one by then.
 */
class BusObject
{
public:
    /// Calls a slot; the text of an error, when it failed and the caller is to get no result.
    using Guard = std::function<std::optional<QString>(const std::function<void()> &slot)>;

    BusObject(BusConnection &connection, const QString &path, QObject &target, const Guard &guard);
    ~BusObject();
    BusObject(const BusObject &) = delete;
    BusObject &operator=(const BusObject &) = delete;

    /// Offers what the target and its children offer now. Before it no object is there.
    void serve();

    void handle(BusMessage message);
    /// Answers a call of this process's own without the bus.
    [[nodiscard]] BusMessage handleLocally(const BusMessage &message);

    /// True while a slot runs for a call.
    [[nodiscard]] bool isCall() const { return m_current; }
    /// Answers the call that is being served, if there is one, with the error `com.velmora.Jovara.Error.Failed`.
    void failCall(const QString &text);

private:
    struct Call
    {
        BusMessage::Origin origin;
        quint64 generation = 0;
        BusMessage *local = nullptr; ///< where the reply goes instead of the bus
        bool isAnswered = false;
    };

    void dispatch(BusMessage message, Call &call);
    void dispatchToSlot(BusMessage message, Call &call);
    void dispatchProperties(const BusMessage &message, Call &call);
    void invoke(const BusInterface::Method &method, QObject *object, const QVariantList &values, Call &call);
    void writeProperty(const BusInterface &interface, const QByteArray &name, const QVariant &value, Call &call);
    void reply(Call &call, const QVariantList &arguments = QVariantList());
    void refuse(Call &call, const char *error, const QString &text);
    void refuseMethod(Call &call, const BusMessage &message);
    void send(Call &call, const BusMessage &message);
    void sendSignal(const QByteArray &interface, const QMetaMethod &signal, const QVariantList &arguments);
    [[nodiscard]] const BusInterface *interfaceOf(const QByteArray &name) const;
    [[nodiscard]] QString introspection() const;

    BusConnection &m_connection;
    const QString m_path;
    QObject &m_target;
    const Guard m_guard;
    std::vector<BusInterface> m_interfaces;
    std::vector<std::unique_ptr<SignalRelay>> m_relays;
    Call *m_current = nullptr;
    std::shared_ptr<bool> m_isAlive;
    bool m_isServed = false;
};

#endif
