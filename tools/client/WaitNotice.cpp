#include "client/WaitNotice.h"

#include "client/BusClient.h"
#include "client/Console.h"
#include "client/Failure.h"

namespace {

constexpr int slack = 50; // a timer may fire a little early

QString waitedFor(const ModuleList &modules)
{
    QStringList names;
    for (const ModuleInfo &module : modules) {
        if (!module.isRunning() && !module.isStopped()) {
            names << QStringLiteral("%1 (%2)").arg(Console::printable(module.name), module.stateText);
        }
    }
    return names.isEmpty() ? QStringLiteral("the daemon's answer") : names.join(QStringLiteral(", "));
}

} // namespace

WaitNotice::WaitNotice(const BusClient &client)
    : m_client(client)
{
    m_sinceLook.start();
}

void WaitNotice::tick()
{
    if (m_sinceLook.elapsed() < interval - slack) {
        return;
    }
    m_sinceLook.restart();
    try {
        const QString text = waitedFor(m_client.modules());
        if (text != m_lastText) {
            Console::complain(QStringLiteral("waiting for %1").arg(text));
            m_lastText = text;
        }
    } catch (const Failure &) {
        m_lastText.clear();
    }
}
