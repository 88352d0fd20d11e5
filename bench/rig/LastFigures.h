#ifndef LAST_FIGURES_H
#define LAST_FIGURES_H

#include <QMap>
#include <QString>
#include <QVector>

/// The figures of the last run, in a file of lines "NAME<tab>MEDIAN<tab>NOISE". The noise is the median distance from
/// the median.
class LastFigures
{
public:
    /// Without a path nothing is compared or kept.
    explicit LastFigures(const QString &path);

    void add(const QString &name, const QVector<double> &values);
    /// Prints what has changed by more than the noise since the last run, and keeps these figures instead.
    void printChanges() const;

private:
    struct Figure
    {
        double median;
        double noise;
    };

    const QString m_path;
    QMap<QString, Figure> m_last;
    QMap<QString, Figure> m_figures;
};

#endif
