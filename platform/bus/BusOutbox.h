#ifndef BUS_OUTBOX_H
#define BUS_OUTBOX_H

#include <QByteArray>
#include <QObject>

#include <memory>

class QSocketNotifier;

/**
 * What an open connection sends.
 *
 * libdbus writes each message at once and on its own, which wakes the bus for each. A process that collects writes the
 * messages of one turn of its event loop together, in their order, before the loop sleeps. Code that keeps the loop
 * from turning calls flushAll() first, and so does code after which others may send what has to come later. All of it
 * belongs to the thread of the event loop.
 */
class BusOutbox : public QObject
{
    Q_OBJECT

public:
    BusOutbox();
    ~BusOutbox() override;

    /// For all connections that open from now on. Without it a message is written at once.
    static void collect();
    /// flush() of every connection of the process.
    static void flushAll();

    /// From now on nobody else writes to the socket, which must not block.
    void open(int socket);
    /// Forgets what is not written.
    void close();
    void add(const QByteArray &message);
    /// Writes what the socket takes; the rest follows when it has room.
    void flush();
    /// Bytes that are not written yet.
    [[nodiscard]] int size() const { return m_bytes.size(); }

private:
    QByteArray m_bytes;
    int m_socket = -1;
    std::unique_ptr<QSocketNotifier> m_room; ///< enabled while the socket is full
};

#endif
