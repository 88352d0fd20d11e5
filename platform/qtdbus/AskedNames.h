#ifndef ASKED_NAMES_H
#define ASKED_NAMES_H

class QEvent;
class QObject;

/**
 * Limits what QtDBus remembers of the methods of an object.
 *
 * QtDBus 5.15.8 keeps every method name that was ever called in a property of the object, also names of methods that
 * the object does not have, and copies all of them for each new name. A caller that never repeats a name would fill the
 * memory, and each call would take longer than the one before.
 *
 * Call it for each event of `object`: after 500 new names it removes the property, and QtDBus starts with an empty one.
 */
void limitAskedNames(QObject *object, const QEvent *event);

#endif
