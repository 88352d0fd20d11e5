#include "qtdbus/AskedNames.h"

#include <QEvent>
#include <QObject>
#include <QVariant>

namespace {

constexpr int mostNames = 500;
constexpr char namesProperty[] = "_qdbus_slotCache";
constexpr char countProperty[] = "_jov_askedNames";

} // namespace

void limitAskedNames(QObject *object, const QEvent *event)
{
    // The last of these is told by our own removal.
    if (event->type() != QEvent::DynamicPropertyChange
        || static_cast<const QDynamicPropertyChangeEvent *>(event)->propertyName() != namesProperty
        || !object->property(namesProperty).isValid()) {
        return;
    }
    const int count = object->property(countProperty).toInt() + 1;
    if (count > mostNames) {
        object->setProperty(namesProperty, QVariant());
    }
    object->setProperty(countProperty, count > mostNames ? 0 : count);
}
