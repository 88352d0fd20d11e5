#ifndef SAMPLE_MODULE_H
#define SAMPLE_MODULE_H

#include "sample-module/Behaviour.h"
#include "sample-module/Load.h"

#include <jov/SupervisedModule.h>

/// A module that does what its behaviour says.
class SampleModule : public SupervisedModule
{
    Q_OBJECT

public:
    explicit SampleModule(const Behaviour &behaviour);

    bool init_step() override;

protected Q_SLOTS:
    void stopRequested() override;

private:
    void becomeReady();
    void end();

    const Behaviour &m_behaviour;
    Load m_load;
};

#endif
