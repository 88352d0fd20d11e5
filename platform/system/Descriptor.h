#ifndef DESCRIPTOR_H
#define DESCRIPTOR_H

#include <QtGlobal>

#include <utility>

#include <unistd.h>

/// An open file, directory or end of a pipe, closed with its holder; -1 for none.
class Descriptor
{
public:
    explicit Descriptor(int number = -1)
        : m_number(number)
    { }
    ~Descriptor() { reset(); }
    Q_DISABLE_COPY(Descriptor)

    [[nodiscard]] int number() const { return m_number; }
    [[nodiscard]] bool isOpen() const { return m_number >= 0; }
    /// It is the caller's to close.
    [[nodiscard]] int release() { return std::exchange(m_number, -1); }
    void reset(int number = -1)
    {
        if (isOpen()) {
            ::close(m_number);
        }
        m_number = number;
    }

private:
    int m_number;
};

#endif
