#ifndef BUS_MESSAGE_H
#define BUS_MESSAGE_H

#include <QByteArray>
#include <QString>
#include <QVariant>

#include <memory>
#include <utility>

struct DBusMessage;

/**
 * A message of the bus. Copies share it; a null one is what a factory returns for a name that the bus does not allow.
 *
 * While a received message exists it counts against what the connection may receive: whoever handles one for long takes
 * out of it what is needed and releases it first.
 */
class BusMessage
{
public:
    enum class Type { Null, Call, Return, Error, Signal };

    /// Where a reply goes: all that is needed of a call once its arguments have been read.
    struct Origin
    {
        QByteArray sender;
        quint32 serial = 0;
        bool wantsReply = false;
    };

    BusMessage() = default;
    /// Takes over the reference.
    explicit BusMessage(DBusMessage *message)
        : m_message(message)
    { }
    BusMessage(const BusMessage &other);
    BusMessage(BusMessage &&other) noexcept
        : m_message(std::exchange(other.m_message, nullptr))
        , m_draft(std::move(other.m_draft))
    { }
    BusMessage &operator=(BusMessage other) noexcept
    {
        std::swap(m_message, other.m_message);
        std::swap(m_draft, other.m_draft);
        return *this;
    }
    ~BusMessage();

    [[nodiscard]] static BusMessage call(const QString &service, const QString &path, const QString &interface,
                                         const QString &member);
    /// A call of a method of the bus itself.
    [[nodiscard]] static BusMessage busCall(const char *member, const QVariantList &arguments = QVariantList());
    [[nodiscard]] static BusMessage signal(const QString &path, const QByteArray &interface, const QByteArray &member);
    [[nodiscard]] static BusMessage reply(const Origin &origin);
    /// An error reply that comes from nobody has an empty origin.
    [[nodiscard]] static BusMessage error(const Origin &origin, const char *name, const QString &text);

    /// Once, before it is sent. False, and nothing is appended, when one of them cannot travel.
    [[nodiscard]] bool setArguments(const QVariantList &arguments);
    void setWantsNoReply();

    [[nodiscard]] bool isNull() const { return !m_message && !m_draft; }
    [[nodiscard]] Type type() const;
    [[nodiscard]] Origin origin() const;
    [[nodiscard]] quint32 replySerial() const;
    [[nodiscard]] QByteArray destination() const;
    [[nodiscard]] QByteArray path() const;
    [[nodiscard]] QByteArray interface() const;
    [[nodiscard]] QByteArray member() const;
    [[nodiscard]] QByteArray signature() const;
    [[nodiscard]] QString errorName() const;
    /// Plain values.
    [[nodiscard]] QVariantList arguments() const;
    /// The first argument when it is a text, without reading the others.
    [[nodiscard]] QString firstText() const;
    [[nodiscard]] bool isSignal(const char *interface, const char *member) const;

    /// The bytes of a message to send.
    [[nodiscard]] QByteArray wire(quint32 serial) const;

private:
    struct Draft;

    BusMessage(int type, int flags);
    static BusMessage to(int type, int flags, const QByteArray &path, const QByteArray &interface,
                         const QByteArray &member);
    static BusMessage answer(int type, const Origin &origin);
    void write(const QVariantList &arguments);
    DBusMessage *parsed() const;

    mutable DBusMessage *m_message = nullptr; ///< received, or a draft that somebody reads
    std::shared_ptr<Draft> m_draft;
};

#endif
