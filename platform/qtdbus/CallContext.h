#ifndef CALL_CONTEXT_H
#define CALL_CONTEXT_H

#include <QDBusContext>

/**
 * The call context of an object, kept over a slot that may throw.
 *
 * While QtDBus 5.15.8 runs a slot, it lets the QDBusContext of the object point to its own stack, and resets it after
 * the slot has returned. An exception skips that reset: from then on calledFromDBus() is true, and message() reads a
 * stack frame that is gone.
 */
class CallContext
{
public:
    /// `object` may be null.
    explicit CallContext(const QDBusContext *object)
        : m_saved(object ? *object : QDBusContext())
    { }

    /// After an exception: makes the context of `object` what it was.
    void restore(QDBusContext &object) const { object = m_saved; }

private:
    const QDBusContext m_saved;
};

#endif
