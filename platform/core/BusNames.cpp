#include <jov/BusNames.h>

#include <algorithm>

QString BusNames::element(const QString &component)
{
    const auto isForeign = [](QChar c) {
        return c != QLatin1Char('_') && (c.unicode() >= 128 || !c.isLetterOrNumber());
    };
    QString element = component;
    std::replace_if(element.begin(), element.end(), isForeign, QLatin1Char('_'));
    if (element.isEmpty() || element.at(0).isDigit()) {
        element.prepend(QLatin1Char('_'));
    }
    return element;
}
