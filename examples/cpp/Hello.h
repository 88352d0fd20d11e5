#ifndef HELLO_H
#define HELLO_H

#include <jov/JovModule.h>

/// A module that starts, says that it is ready, greets whoever calls, and ends when it is asked to.
class Hello : public JovModule
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.velmora.Jovara.JovInterface")

public:
    Hello();

    bool init() override;
    bool init_step() override;

public Q_SLOTS:
    /// A method on the bus.
    Q_SCRIPTABLE QString greet(const QString &who);

private Q_SLOTS:
    void stopRequested();
};

#endif
