#ifndef ASKED_NAMES_H
#define ASKED_NAMES_H

class QEvent;
class QObject;

/**
 * Keeps small what QtDBus remembers of an object's methods: every name that was ever called, also of methods that the
 * object does not have, in a property of the object that is copied as a whole at each new name. A caller with ever new
 * names would fill the memory, and every such call would take longer than the one before.
 *
 * Called for each event that tells `object` of a new value of a property; after some hundred new names QtDBus begins
 * anew.
 */
void limitAskedNames(QObject *object, const QEvent *event);

#endif
