#include "bus/BusOutbox.h"

#include <QAbstractEventDispatcher>
#include <QSocketNotifier>
#include <QVector>

#include <cerrno>

#include <sys/socket.h>

namespace {

constexpr int largestCollection = 64 * 1024; // bytes

bool isCollecting = false;

QVector<BusOutbox *> &openOnes()
{
    static QVector<BusOutbox *> all;
    return all;
}

} // namespace

BusOutbox::BusOutbox() = default;

BusOutbox::~BusOutbox()
{
    close();
}

void BusOutbox::collect()
{
    isCollecting = true;
}

void BusOutbox::flushAll()
{
    for (BusOutbox *outbox : qAsConst(openOnes())) {
        outbox->flush();
    }
}

void BusOutbox::open(int socket)
{
    m_socket = socket;
    m_room = std::make_unique<QSocketNotifier>(socket, QSocketNotifier::Write);
    m_room->setEnabled(false);
    connect(m_room.get(), &QSocketNotifier::activated, this, &BusOutbox::flush);
    openOnes().append(this);
    if (isCollecting) {
        connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::aboutToBlock, this, &BusOutbox::flush);
    }
}

void BusOutbox::close()
{
    if (openOnes().removeOne(this) && isCollecting) {
        QAbstractEventDispatcher::instance()->disconnect(this);
    }
    m_room.reset();
    m_bytes.clear();
}

void BusOutbox::add(const QByteArray &message)
{
    m_bytes.append(message);
    if (!isCollecting || m_bytes.size() > largestCollection) {
        flush();
    }
}

void BusOutbox::flush()
{
    int written = 0;
    while (written < m_bytes.size()) {
        const ssize_t count = send(m_socket, m_bytes.constData() + written, std::size_t(m_bytes.size() - written),
                                   MSG_DONTWAIT | MSG_NOSIGNAL);
        if (count >= 0) {
            written += int(count);
        } else if (errno == EAGAIN) {
            break;
        } else if (errno != EINTR) {
            written = m_bytes.size(); // The bus is lost, which the reader finds out.
        }
    }
    m_bytes.remove(0, written);
    if (m_room) {
        m_room->setEnabled(!m_bytes.isEmpty());
    }
}
