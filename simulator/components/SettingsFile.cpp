#include "components/SettingsFile.h"

#include <jov/JovRoot.h>

#include <QFile>
#include <QRegularExpression>
#include <QSaveFile>
#include <QSettings>

QString SettingsFile::standardPath()
{
    return JovRoot::rooted(QStringLiteral("/etc/JovApplication/settings.ini"));
}

QString SettingsFile::value(const QString &section, const QString &key) const
{
    const QSettings settings(m_path, QSettings::IniFormat);
    const QVariant found = settings.value(section + QLatin1Char('/') + key);
    // QSettings reads a value with a comma as a list.
    return found.isValid() ? found.toStringList().join(QLatin1String(", ")) : QString();
}

bool SettingsFile::setValue(const QString &section, const QString &key, const QString &value) const
{
    QFile present(m_path);
    QString text = present.open(QIODevice::ReadOnly) ? QString::fromUtf8(present.readAll()) : QString();
    const QString line = QStringLiteral("%1=%2").arg(key, value);
    const auto expression = [](const QString &pattern, const QString &name) {
        return QRegularExpression(pattern.arg(QRegularExpression::escape(name)), QRegularExpression::MultilineOption);
    };
    const QRegularExpressionMatch head = expression(QStringLiteral("^[ \\t]*\\[%1\\][ \\t]*$"), section).match(text);
    if (!head.hasMatch()) {
        text += (text.isEmpty() || text.endsWith(QLatin1Char('\n')) ? QString() : QStringLiteral("\n"))
            + QStringLiteral("[%1]\n%2\n").arg(section, line);
    } else {
        const int begin = head.capturedEnd();
        const int next =
            text.indexOf(QRegularExpression(QStringLiteral("^[ \\t]*\\["), QRegularExpression::MultilineOption), begin);
        const QRegularExpressionMatch old = expression(QStringLiteral("^[ \\t]*%1[ \\t]*=.*$"), key).match(text, begin);
        if (old.hasMatch() && (next < 0 || old.capturedStart() < next)) {
            text.replace(old.capturedStart(), old.capturedLength(), line);
        } else {
            text.insert(begin, QLatin1Char('\n') + line);
        }
    }
    QSaveFile file(m_path);
    return file.open(QIODevice::WriteOnly) && file.write(text.toUtf8()) >= 0 && file.commit();
}
