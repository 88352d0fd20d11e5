#ifndef FUZZ_INPUT_H
#define FUZZ_INPUT_H

#include <QByteArray>

#include <algorithm>
#include <cstdint>

/// The bytes of an input, taken one after the other; zeros once they are used up.
class FuzzInput
{
public:
    FuzzInput(const std::uint8_t *data, std::size_t size)
        : m_position(data)
        , m_end(data + size)
    { }

    [[nodiscard]] bool isEmpty() const { return m_position == m_end; }

    std::uint8_t byte() { return isEmpty() ? std::uint8_t(0) : *m_position++; }

    quint64 number()
    {
        quint64 value = 0;
        for (int i = 0; i < 8; ++i) {
            value = value << 8 | byte();
        }
        return value;
    }

    /// A length, then so many bytes.
    QByteArray text()
    {
        const std::ptrdiff_t named = byte();
        const std::ptrdiff_t size = std::min(named, m_end - m_position);
        const QByteArray bytes(reinterpret_cast<const char *>(m_position), int(size));
        m_position += size;
        return bytes;
    }

    QByteArray rest()
    {
        const QByteArray bytes(reinterpret_cast<const char *>(m_position), int(m_end - m_position));
        m_position = m_end;
        return bytes;
    }

private:
    const std::uint8_t *m_position;
    const std::uint8_t *m_end;
};

#endif
