#ifndef METRICS_TEXT_H
#define METRICS_TEXT_H

#include <QSet>
#include <QString>

/**
 * Figures as a monitoring system reads them, a family after the other: in the text format of the textfile collector, or
 * as OpenMetrics. The formats differ in the name of a family that is a counter or an information.
 */
class MetricsText
{
public:
    enum class Format { TextFile, OpenMetrics };
    enum class Type { Gauge, Counter, Info };

    explicit MetricsText(Format format)
        : m_format(format)
    { }

    /// `name` without the prefix "jovara_" and without the suffix of its type.
    void family(Type type, const char *name, const char *help);
    /// Of the last family. Both readers refuse the whole text for the same labels twice: only the first is written.
    void sample(const QString &labels, const QString &value);
    void sample(const QString &labels, qint64 value) { sample(labels, QString::number(value)); }
    /// A family of one sample without labels.
    void single(Type type, const char *name, const char *help, const QString &value);

    [[nodiscard]] QString text() const;

    /// `name="value"`.
    [[nodiscard]] static QString label(const char *name, QString value);
    [[nodiscard]] static QString seconds(quint64 microseconds);

private:
    const Format m_format;
    QString m_name; ///< of the samples
    QString m_text;
    QSet<QString> m_labels; ///< in the last family
};

#endif
