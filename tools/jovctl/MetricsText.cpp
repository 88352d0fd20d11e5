#include "jovctl/MetricsText.h"

namespace {

struct TypeNames
{
    const char *textFile;
    const char *openMetrics;
    const char *suffix;
};

/// In the order of MetricsText::Type.
constexpr TypeNames typeNames[] = {
    {"gauge", "gauge", ""}, {"counter", "counter", "_total"}, {"gauge", "info", "_info"}};

} // namespace

void MetricsText::family(Type type, const char *name, const char *help)
{
    const TypeNames &names = typeNames[int(type)];
    const QString family = QStringLiteral("jovara_%1").arg(QLatin1String(name));
    m_name = family + QLatin1String(names.suffix);
    m_labels.clear();
    const bool isOpen = m_format == Format::OpenMetrics;
    m_text += QStringLiteral("# HELP %1 %2\n# TYPE %1 %3\n")
                  .arg(isOpen ? family : m_name, QLatin1String(help),
                       QLatin1String(isOpen ? names.openMetrics : names.textFile));
}

void MetricsText::sample(const QString &labels, const QString &value)
{
    if (m_labels.contains(labels)) {
        return;
    }
    m_labels.insert(labels);
    m_text += m_name;
    if (!labels.isEmpty()) {
        m_text += QLatin1Char('{') + labels + QLatin1Char('}');
    }
    m_text += QLatin1Char(' ') + value + QLatin1Char('\n');
}

void MetricsText::single(Type type, const char *name, const char *help, const QString &value)
{
    family(type, name, help);
    sample(QString(), value);
}

QString MetricsText::text() const
{
    return m_format == Format::OpenMetrics ? m_text + QStringLiteral("# EOF\n") : m_text;
}

QString MetricsText::label(const char *name, QString value)
{
    value.replace(QLatin1Char('\\'), QStringLiteral("\\\\"))
        .replace(QLatin1Char('"'), QStringLiteral("\\\""))
        .replace(QLatin1Char('\n'), QStringLiteral("\\n"));
    return QLatin1String(name) + QStringLiteral("=\"") + value + QLatin1Char('"');
}

QString MetricsText::seconds(quint64 microseconds)
{
    return QString::number(double(microseconds) / 1000000, 'f', 6);
}
