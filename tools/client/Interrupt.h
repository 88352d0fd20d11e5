#ifndef INTERRUPT_H
#define INTERRUPT_H

#include <QObject>
#include <QSocketNotifier>

#include <memory>

/// Ctrl-C and other requests to end, each as a signal of the event loop, so that what goes on until then ends in order.
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
