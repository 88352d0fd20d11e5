#include "daemon/Heartbeat.h"

#include "system/LifeSign.h"

#include <algorithm>
#include <limits>

namespace {

using std::chrono::milliseconds;

constexpr milliseconds longest(std::numeric_limits<int>::max());
constexpr milliseconds deviceInterval = std::chrono::seconds(WatchdogDevice::timeOut) / 3;

} // namespace

Heartbeat::Heartbeat(pid_t parent, WatchdogDevice::Control control)
    : m_control(control)
    , m_socket(parent)
{
    QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] { beat(); });
    start();
}

void Heartbeat::watch(const QString &device)
{
    if (m_device && device == m_path) {
        return;
    }
    disarm();
    m_path = device;
    if (!device.isEmpty()) {
        m_device = std::make_unique<WatchdogDevice>(device, m_control);
        if (!m_device->isArmed()) {
            m_device.reset();
        }
    }
    start();
}

void Heartbeat::start()
{
    m_timer.stop();
    LifeSign::set({});
    if (!m_socket.isOpen() && !m_device) {
        return;
    }
    const milliseconds interval = std::min(m_socket.isOpen() ? m_socket.timeOut() / 2 : milliseconds(longest),
                                           m_device ? deviceInterval : longest);
    m_timer.start(std::max(interval, milliseconds(1)));
    LifeSign::set([this] { beat(); });
    beat();
}

Heartbeat::~Heartbeat()
{
    LifeSign::set({});
}

void Heartbeat::end(bool rebootRequested)
{
    if (!rebootRequested) {
        disarm();
    }
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
