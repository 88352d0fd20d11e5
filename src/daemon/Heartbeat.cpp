#include "daemon/Heartbeat.h"

#include "system/LifeSign.h"

#include <algorithm>
#include <limits>

namespace {

using std::chrono::milliseconds;

constexpr milliseconds longest(std::numeric_limits<int>::max());
constexpr milliseconds deviceInterval = std::chrono::seconds(WatchdogDevice::timeOut) / 3;

} // namespace

Heartbeat::Heartbeat(pid_t parent, const QString &device, WatchdogDevice::Control control)
    : m_socket(parent)
{
    milliseconds interval = longest;
    if (m_socket.isOpen()) {
        interval = std::min(interval, m_socket.timeOut() / 2);
    }
    if (!device.isEmpty()) {
        m_device = std::make_unique<WatchdogDevice>(device, control);
        if (m_device->isArmed()) {
            interval = std::min(interval, deviceInterval);
        } else {
            m_device.reset();
        }
    }
    if (!m_socket.isOpen() && !m_device) {
        return;
    }
    QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] { beat(); });
    m_timer.start(std::max(interval, milliseconds(1)));
    LifeSign::set([this] { beat(); });
    beat();
}

Heartbeat::~Heartbeat()
{
    LifeSign::set({});
}

void Heartbeat::disarm()
{
    if (m_device) {
        m_device->disarm();
        m_device.reset();
    }
}

void Heartbeat::beat()
{
    if (m_socket.isOpen()) {
        m_socket.feed();
    }
    if (m_device) {
        m_device->feed();
    }
}
