#ifndef INTERRUPT_H
#define INTERRUPT_H

#include <QObject>
#include <QSocketNotifier>

#include <memory>

/// Ctrl-C and a request to end, as a signal of the event loop, so that a command that goes on until then ends in order.
/// Made before the bus connection: its thread must not take them.
class Interrupt : public QObject
{
    Q_OBJECT

public:
    Interrupt();
    ~Interrupt() override;

Q_SIGNALS:
    void raised();

private:
    int m_descriptor = -1;
    std::unique_ptr<QSocketNotifier> m_notifier;
};

#endif
