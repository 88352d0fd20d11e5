#include "supervision/OutputSetting.h"

#include <jov/JovRoot.h>

#include <QFile>
#include <QFileInfo>

namespace {

constexpr qint64 longestLine = 500; // bytes, on the average

} // namespace

std::optional<OutputSetting> OutputSetting::parse(const QString &text, const QString &path)
{
    const QString file = QStringLiteral("file:/");
    if (text == QLatin1String("none")) {
        return OutputSetting();
    }
    if (text == QLatin1String("journal")) {
        return OutputSetting{Kind::Journal, QString(), QString()};
    }
    if (text.startsWith(file)) {
        return OutputSetting{Kind::File, text.mid(file.size() - 1), QString()};
    }
    if (text.startsWith(QLatin1Char('|')) && text.size() > 1) {
        return OutputSetting{Kind::Program, path, text.mid(1)};
    }
    return std::nullopt;
}

QString OutputSetting::pathOf(const QString &module) const
{
    QString path = pattern;
    return JovRoot::rooted(path.replace(QStringLiteral("%n"), module));
}

QString OutputSetting::commandOf(const QString &module) const
{
    QString line = command;
    return line.replace(QStringLiteral("%n"), JovRoot::shellQuoted(module));
}

QStringList OutputSetting::lastLines(const QString &module, int count) const
{
    if (pattern.isEmpty() || !QFileInfo(pathOf(module)).isFile()) {
        return {};
    }
    QFile file(pathOf(module));
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    const qint64 begin = qMax(qint64(0), file.size() - count * longestLine);
    file.seek(begin);
    QStringList lines = QString::fromUtf8(file.read(count * longestLine)).split(QLatin1Char('\n'));
    if (begin > 0) {
        lines.removeFirst(); // the end of one
    }
    if (!lines.isEmpty() && lines.last().isEmpty()) {
        lines.removeLast();
    }
    return lines.mid(qMax(0, lines.size() - count));
}
