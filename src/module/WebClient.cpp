#include "module/WebClient.h"

#include "catalogue/ApplicationRecord.h"
#include "contract/Components.h"
#include "contract/Events.h"
#include "contract/HistoryNames.h"
#include "supervision/BusAccess.h"
#include "supervision/SupervisionObserver.h"
#include "supervision/SupervisionState.h"

#include <jov/Log.h>

WebClient::WebClient(ApplicationRecord *record, const ModuleContext &context)
    : Module(record, context)
{
    m_webappTimer.setSingleShot(true);
    m_webappTimer.setTimerType(Qt::PreciseTimer);
    m_webappTimer.setInterval(m_context.state.limits().presentation);
    connect(&m_webappTimer, &QTimer::timeout, this, &WebClient::slot_webapp_timeout);
    m_context.bus.subscribeEvent(Events::presentationReady, this, SLOT(presentationReady()));
}

WebClient::~WebClient()
{
    m_context.bus.unsubscribeEvent(Events::presentationReady, this, SLOT(presentationReady()));
}

void WebClient::announced()
{
    if (m_context.bus.getParameters().contains(QStringLiteral("no_webapp_timer"))) {
        Log::debug("no webapp timer");
    } else {
        Log::debug("Starting webapp timer");
        if (!m_webappTimer.isActive()) {
            // A timer that runs is left alone: the earlier deadline is the one that counts, and a flood costs nothing.
            m_webappTimer.start();
        }
    }
    setState(ModuleState::WebClientStarted);
}

void WebClient::presentationReady()
{
    Log::debug("presentationReady() method");
    if (getState() != ModuleState::WebClientStarted) {
        return;
    }
    if (m_webappTimer.isActive()) {
        Log::debug("Remove webapp timer");
        m_webappTimer.stop();
    }
    setState(ModuleState::Running);
}

void WebClient::slot_webapp_timeout()
{
    Log::debug("Webapp timer triggered");
    if (getState() != ModuleState::WebClientStarted) {
        return;
    }
    Log::error("Webapp timeout : Failed to receive presentationReady event");
    if (m_context.state.initInProgress()) {
        // Before the stop, which can become a crash of its own.
        m_context.observer.noteEnding({{History::Key::cause, QString(History::Cause::presentation)}});
    }
    stop();
    if (m_context.state.initInProgress()) {
        m_context.orders.stopManager();
    }
}

std::unique_ptr<Module> makeModule(ApplicationRecord *record, const ModuleContext &context)
{
    if (record->getName() == Components::webClient) {
        return std::make_unique<WebClient>(record, context);
    }
    return std::make_unique<Module>(record, context);
}
