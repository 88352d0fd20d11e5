#include "components/SettingsFile.h"

#include <jov/JovRoot.h>

#include <QFile>
#include <QSaveFile>
#include <QSettings>
#include <QStringList>

namespace {

/// The line that gives `key` its value inside `section`, or where such a line would have to be put in.
struct Place
{
    int line = 0;
    bool keyFound = false;
    bool sectionFound = false;
};

Place findPlace(const QStringList &lines, const QString &section, const QString &key)
{
    Place place;
    bool inside = false;
    for (int i = 0; i < lines.size(); ++i) {
        const QString line = lines.at(i).trimmed();
        if (line.startsWith(QLatin1Char('['))) {
            inside = line == QLatin1Char('[') + section + QLatin1Char(']');
            place.sectionFound = place.sectionFound || inside;
        }
        if (!inside || line.isEmpty()) {
            continue;
        }
        place.line = i + 1; // behind the last line of the section that says anything
        if (line.section(QLatin1Char('='), 0, 0).trimmed() == key && line.contains(QLatin1Char('='))) {
            return {i, true, true};
        }
    }
    return place;
}

} // namespace

QString SettingsFile::standardPath()
{
    return JovRoot::rooted(QStringLiteral("/etc/JovApplication/settings.ini"));
}

QString SettingsFile::value(const QString &section, const QString &key) const
{
    const QSettings settings(m_path, QSettings::IniFormat);
    const QVariant found = settings.value(section + QLatin1Char('/') + key);
    // A value with a comma comes as a list.
    return found.isValid() ? found.toStringList().join(QLatin1String(", ")) : QString();
}

bool SettingsFile::setValue(const QString &section, const QString &key, const QString &value) const
{
    QStringList lines;
    QFile present(m_path);
    if (present.open(QIODevice::ReadOnly)) {
        lines = QString::fromUtf8(present.readAll()).split(QLatin1Char('\n'));
    }
    const QString text = QStringLiteral("%1=%2").arg(key, value);
    const Place place = findPlace(lines, section, key);
    if (place.keyFound) {
        lines[place.line] = text;
    } else if (place.sectionFound) {
        lines.insert(place.line, text);
    } else {
        lines << QStringLiteral("[%1]").arg(section) << text << QString();
    }
    QSaveFile file(m_path);
    return file.open(QIODevice::WriteOnly) && file.write(lines.join(QLatin1Char('\n')).toUtf8()) >= 0 && file.commit();
}
