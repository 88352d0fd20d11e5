#ifndef SAMPLE_MODULE_H
#define SAMPLE_MODULE_H

#include "sample-module/Behaviour.h"
#include "sample-module/Load.h"

#include <jov/JovModule.h>

/**
 * A module as the supervisor knows it: it announces "end_of_init_NAME" when it is ready and ends itself on
 * "stop_module_NAME". Everything else that it does, its behaviour says.
 */
class SampleModule : public JovModule
{
    Q_OBJECT

public:
    explicit SampleModule(const Behaviour &behaviour);

    bool init() override;
    bool init_step() override;

public Q_SLOTS:
    void stopRequested();

private:
    void becomeReady();
    void end();

    const Behaviour &m_behaviour;
    Load m_load;
};

#endif
