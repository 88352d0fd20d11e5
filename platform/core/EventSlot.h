#ifndef EVENT_SLOT_H
#define EVENT_SLOT_H

#include <jov/JovEvent.h>

#include <QMetaMethod>

#include <optional>

/// A slot that an event can be given to: one without parameters, with a JovEvent, or with one plain value.
class EventSlot
{
public:
    /// `slot` as SLOT() writes it, or a plain signature. Nothing when `receiver` has no such slot.
    [[nodiscard]] static std::optional<EventSlot> find(const QObject *receiver, const char *slot);

    /// Writes a warning, and calls nothing, when the event has no value that fits the parameter.
    void call(QObject *receiver, const JovEvent &event) const;

    bool operator==(const EventSlot &other) const { return m_method == other.m_method; }

private:
    explicit EventSlot(const QMetaMethod &method)
        : m_method(method)
    { }

    [[nodiscard]] std::optional<QVariant> valueFor(const JovEvent &event) const;

    QMetaMethod m_method;
};

#endif
