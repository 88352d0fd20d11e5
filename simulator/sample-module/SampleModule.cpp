#include "sample-module/SampleModule.h"

#include "contract/Events.h"

#include <QTimer>

#include <csignal>
#include <cstdio>

#include <unistd.h>

namespace {

/// Ends the process without stop(): a module that fails does not clean up.
[[noreturn]] void quit(int exitCode)
{
    std::fflush(nullptr);
    _exit(exitCode);
}

void crash(int signal)
{
    std::fflush(nullptr);
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

} // namespace

SampleModule::SampleModule(const Behaviour &behaviour)
    : SupervisedModule(behaviour.moduleName)
    , m_behaviour(behaviour)
    , m_load(behaviour)
{
    if (behaviour.exitAfter) {
        QTimer::singleShot(*behaviour.exitAfter, this, [&behaviour] { quit(behaviour.exitCode); });
    }
    if (behaviour.crashAfter) {
        QTimer::singleShot(*behaviour.crashAfter, this, [&behaviour] { crash(behaviour.crashSignal); });
    }
}

bool SampleModule::init_step()
{
    m_load.begin();
    if (m_behaviour.neverReady) {
        return true;
    }
    if (m_behaviour.readyAfter == 0) {
        becomeReady();
    } else {
        QTimer::singleShot(m_behaviour.readyAfter, this, &SampleModule::becomeReady);
    }
    return true;
}

void SampleModule::becomeReady()
{
    announceReady();
    if (m_behaviour.presentationAfter) {
        QTimer::singleShot(*m_behaviour.presentationAfter, this, [this] { notifyEvent(Events::presentationReady); });
    }
    if (m_behaviour.exitOnReady) {
        // Once the bus has answered that there is nobody of this name, it has received the event too.
        static_cast<void>(syncRemoteCall(QStringLiteral("Nobody"), QStringLiteral("nothing")));
        quit(m_behaviour.exitCode);
    }
}

void SampleModule::stopRequested()
{
    if (!m_behaviour.ignoreStop) {
        QTimer::singleShot(m_behaviour.stopAfter, this, &SampleModule::end);
    }
}

void SampleModule::end()
{
    if (m_behaviour.stopSignal != 0) {
        crash(m_behaviour.stopSignal);
    } else if (m_behaviour.stopExitCode != 0) {
        quit(m_behaviour.stopExitCode);
    } else {
        exit();
    }
}
