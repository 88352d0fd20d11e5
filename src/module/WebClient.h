#ifndef WEB_CLIENT_H
#define WEB_CLIENT_H

#include "module/Module.h"

#include <QTimer>

/// The module "JovWebClient". When it has announced itself it has 45 s to show its first page; then it is stopped, and
/// during the start-up the supervisor ends.
class WebClient : public Module
{
    Q_OBJECT

public:
    WebClient(ApplicationRecord *record, const ModuleContext &context);
    ~WebClient() override;

public Q_SLOTS:
    void presentationReady();
    void slot_webapp_timeout();

private:
    void launching() override { m_webappTimer.stop(); } // That of an earlier run.
    void announced() override;

    QTimer m_webappTimer;
};

/// The module of that record.
[[nodiscard]] std::unique_ptr<Module> makeModule(ApplicationRecord *record, const ModuleContext &context);

#endif
