#ifndef STAND_IN_H
#define STAND_IN_H

#include <jov/JovModule.h>

/// What the stand-ins have in common with every module: they say when they are ready and end when they are asked to.
class StandIn : public JovModule
{
    Q_OBJECT

public:
    using JovModule::JovModule;

    bool init() override;
    bool init_step() override;

public Q_SLOTS:
    void stopRequested() { exit(); }
};

#endif
