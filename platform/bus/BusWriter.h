#ifndef BUS_WRITER_H
#define BUS_WRITER_H

#include <QByteArray>
#include <QVariant>

/**
 * Writes values as they travel, each at a multiple of its alignment from the first byte on.
 *
 * libdbus does this, too, but moves and checks the whole header of the message again for each argument.
 */
class BusWriter
{
public:
    /// For a small message without moving.
    explicit BusWriter(int expectedSize = 160) { m_bytes.reserve(expectedSize); }

    [[nodiscard]] const QByteArray &bytes() const { return m_bytes; }

    void align(int boundary)
    {
        const int rest = m_bytes.size() % boundary;
        if (rest != 0) {
            m_bytes.append(boundary - rest, '\0');
        }
    }
    template <typename T>
    void number(T number)
    {
        align(int(sizeof number));
        m_bytes.append(reinterpret_cast<const char *>(&number), int(sizeof number));
    }
    void byte(int byte) { m_bytes.append(char(byte)); }
    /// A text that is not valid, or a part behind a null, would cost the connection: toUtf8() gives none, and the part
    /// is left out.
    void text(const QByteArray &utf8);
    void signature(const char *signature);
    /// One that can travel (BusTypes::canTravel()).
    void value(const QVariant &value);
    void append(const QByteArray &bytes) { m_bytes.append(bytes); }

private:
    void variant(const QVariant &value);
    void array(const char *element, const QVariant &value);
    void structure(const char *type, const QVariant &value);
    void put(const char *type, const QVariant &value);

    QByteArray m_bytes;
};

#endif
