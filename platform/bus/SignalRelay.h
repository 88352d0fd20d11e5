#ifndef SIGNAL_RELAY_H
#define SIGNAL_RELAY_H

#include <QMetaMethod>
#include <QObject>
#include <QVariant>

#include <functional>

/// Hands on every signal of an object, but those of QObject itself, with its arguments. The object must outlive it.
class SignalRelay : public QObject // without Q_OBJECT: its slots are not in moc's tables
{
public:
    using Receiver = std::function<void(const QMetaMethod &signal, const QVariantList &arguments)>;

    SignalRelay(const QObject *object, const Receiver &receiver);

    int qt_metacall(QMetaObject::Call call, int id, void **arguments) override;

private:
    const QObject *const m_object;
    const Receiver m_receiver;
};

#endif
