#include "supervision/OutputSetting.h"

#include <jov/JovRoot.h>

#include <QFile>
#include <QFileInfo>

namespace {

constexpr qint64 longestLine = 500; // bytes, on the average

} // namespace

std::optional<OutputSetting> OutputSetting::parse(const QString &text)
{
    const QString file = QStringLiteral("file:/");
    if (text == QLatin1String("none")) {
        return OutputSetting();
    }
    if (text == QLatin1String("journal")) {
        return OutputSetting{Kind::Journal, QString()};
    }
    if (text.startsWith(file)) {
        return OutputSetting{Kind::File, text.mid(file.size() - 1)};
    }
    return std::nullopt;
}

QString OutputSetting::pathOf(const QString &module) const
{
    QString path = pattern;
    return JovRoot::rooted(path.replace(QStringLiteral("%n"), module));
}

QStringList OutputSetting::lastLines(const QString &module, int count) const
{
    if (kind != Kind::File || !QFileInfo(pathOf(module)).isFile()) {
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
