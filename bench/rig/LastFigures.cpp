#include "rig/LastFigures.h"

#include "rig/Statistics.h"

#include <QFile>
#include <QSaveFile>

#include <cmath>
#include <cstdio>

namespace {

constexpr double smallest = 0.02; // of the figure

} // namespace

LastFigures::LastFigures(const QString &path)
    : m_path(path)
{
    QFile file(path);
    const QByteArray text = !path.isEmpty() && file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    const QList<QByteArray> lines = text.split('\n');
    for (const QByteArray &line : lines) {
        const QList<QByteArray> fields = line.split('\t');
        if (fields.size() == 3) {
            m_last.insert(QString::fromUtf8(fields.at(0)), {fields.at(1).toDouble(), fields.at(2).toDouble()});
        }
    }
}

void LastFigures::add(const QString &name, const QVector<double> &values)
{
    const double middle = median(values);
    QVector<double> distances;
    for (const double value : values) {
        distances.append(std::abs(value - middle));
    }
    m_figures.insert(name, {middle, median(distances)});
}

void LastFigures::printChanges() const
{
    QSaveFile file(m_path);
    if (m_path.isEmpty() || !file.open(QIODevice::WriteOnly)) {
        return;
    }
    std::printf("\nChanged by more than the noise since the last run:%s\n", m_last.isEmpty() ? " there is none" : "");
    for (auto figure = m_figures.cbegin(); figure != m_figures.cend(); ++figure) {
        const auto last = m_last.constFind(figure.key());
        file.write(QStringLiteral("%1\t%2\t%3\n").arg(figure.key()).arg(figure->median).arg(figure->noise).toUtf8());
        if (last == m_last.cend()) {
            continue;
        }
        const double change = std::abs(figure->median - last->median);
        if (change > figure->noise + last->noise && change > smallest * last->median) {
            std::printf("%s: %.3g, was %.3g\n", qPrintable(figure.key()), figure->median, last->median);
        }
    }
    file.commit();
}
