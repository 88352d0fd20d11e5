#ifndef SIGNALS_H
#define SIGNALS_H

#include <QObject>

#include <memory>

class QSocketNotifier;

/// Ctrl-C and its kin as a Qt signal. To be made before the process has any threads.
class Signals : public QObject
{
    Q_OBJECT

public:
    Signals();
    ~Signals() override;

Q_SIGNALS:
    void interrupted();

private:
    int m_descriptor = -1;
    std::unique_ptr<QSocketNotifier> m_notifier;
};

#endif
