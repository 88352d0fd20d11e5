#include "jovctl/BootChart.h"

#include "client/Console.h"
#include "client/TextWidth.h"
#include "client/Units.h"

#include <cmath>

namespace {

// In pixels. The text is 12 pixels high; the widths leave room for the widest of the fonts.
constexpr int margin = 20;
constexpr int rowHeight = 20;
constexpr int stepHeight = 26;
constexpr int barHeight = 12;
constexpr int plotWidth = 720;
constexpr int plotTop = 112;
constexpr int labelRoom = 110; ///< right of the plot, for the text after a bar that ends there
constexpr double cell = 7.6; ///< of a character
constexpr int longestName = 32; ///< characters
constexpr double narrowestBar = 2;
constexpr int narrowestTick = 90;

struct Palette
{
    const char *paper, *ink, *faint, *grid, *band, *bar, *critical, *failed, *home;
};

constexpr Palette onLight{"#ffffff", "#1d2733", "#5d6b7a", "#dfe4ea", "#f3f5f8",
                          "#7ba7d9", "#d9642b", "#b3261e", "#2e7d4f"};
constexpr Palette onDark{"#14181d", "#e6ebf0", "#9aa7b4", "#2c343d", "#1c2229",
                         "#4f7fb5", "#f08a4b", "#ff6b5e", "#6fcf97"};
constexpr Palette onPaper{"#ffffff", "#000000", "#444444", "#cccccc", "#f0f0f0",
                          "#7ba7d9", "#d9642b", "#b3261e", "#2e7d4f"};

// No CSS variables: many viewers do not support them and paint everything black.
QString colours(const Palette &palette)
{
    return QStringLiteral(
               "    .paper { fill: %1; } text { fill: %2; stroke: %1; } .grid { stroke: %4; } .band { fill: %5; }\n"
               "    .bar { fill: %6; } .critical { fill: %7; } .faint, .span { fill: %3; }\n"
               "    .failed { stroke: %8; } .home { stroke: %9; }\n")
        .arg(QLatin1String(palette.paper), QLatin1String(palette.ink), QLatin1String(palette.faint),
             QLatin1String(palette.grid), QLatin1String(palette.band), QLatin1String(palette.bar),
             QLatin1String(palette.critical), QLatin1String(palette.failed), QLatin1String(palette.home));
}

QString styles()
{
    return QStringLiteral("  <style>\n") + colours(onLight)
        + QStringLiteral("    @media (prefers-color-scheme: dark) {\n") + colours(onDark)
        + QStringLiteral("    }\n    @media print {\n"
                         "    svg { print-color-adjust: exact; -webkit-print-color-adjust: exact; }\n")
        + colours(onPaper)
        + QStringLiteral("    }\n"
                         "    text { font: 12px 'DejaVu Sans Mono', 'Liberation Mono', Menlo, Consolas, monospace;\n"
                         "           paint-order: stroke; stroke-width: 3px; }\n"
                         "    .title { font-size: 18px; font-weight: bold; } .step { font-weight: bold; }\n"
                         "    .grid { stroke-width: 1; } .home { stroke-width: 1.5; stroke-dasharray: 4 3; }\n"
                         "    .failed { fill: none; stroke-width: 1.5; stroke-dasharray: 3 2; }\n"
                         "  </style>\n");
}

QString number(double value)
{
    return QString::number(value, 'f', 1);
}

QString escaped(const QString &text)
{
    return Console::printable(text).toHtmlEscaped();
}

/// The time between two lines of the axis: 1, 2 or 5 times a power of ten.
double tickInterval(double total, double width)
{
    const double least = total * narrowestTick / width;
    const double power = std::pow(10, std::floor(std::log10(least)));
    for (const double factor : {1.0, 2.0, 5.0}) {
        if (power * factor >= least) {
            return power * factor;
        }
    }
    return power * 10;
}

class Chart
{
public:
    explicit Chart(const BootRecord &record)
        : m_record(record)
        , m_total(std::max<double>(double(record.total), 1000))
        , m_plotLeft(int(margin + cell * nameCells() + 12))
        , m_bottom(bottom())
    { }

    QString draw(const QString &host)
    {
        const int width = m_plotLeft + plotWidth + labelRoom + margin;
        const int height = m_bottom + margin + rowHeight;
        QString head = QStringLiteral("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                      "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 %1 %2\" width=\"%1\" "
                                      "height=\"%2\" role=\"img\">\n")
                           .arg(width)
                           .arg(height);
        head += QStringLiteral("  <title>%1</title>\n").arg(escaped(title(host))) + styles()
            + QStringLiteral("  <rect class=\"paper\" width=\"%1\" height=\"%2\"/>\n").arg(width).arg(height);
        drawHead(host);
        drawSteps();
        if (m_record.homepage > 0) {
            verticalLine(m_back, x(m_record.homepage), plotTop - 4, m_bottom, "home");
        }
        return head + m_back + m_front + QStringLiteral("</svg>\n");
    }

private:
    [[nodiscard]] int nameCells() const
    {
        int cells = 14;
        const QList<BootModule> modules = m_record.allModules();
        for (const BootModule &module : modules) {
            cells = qMax(cells, textWidth(shortened(Console::printable(module.name), longestName)));
        }
        return cells;
    }

    [[nodiscard]] int bottom() const
    {
        return plotTop + int(m_record.steps.size()) * stepHeight + int(m_record.allModules().size()) * rowHeight;
    }

    [[nodiscard]] double x(quint64 time) const { return m_plotLeft + double(time) / m_total * plotWidth; }

    [[nodiscard]] QString title(const QString &host) const
    {
        return QStringLiteral("%1 of %2: %3")
            .arg(m_record.isRestart ? QStringLiteral("Restart") : QStringLiteral("Start-up"),
                 shortened(host, longestName), Units::duration(m_record.total));
    }

    void text(double left, double baseline, const QString &shown, const char *kind = "", const char *anchor = "start",
              const QString &tip = QString())
    {
        m_front +=
            QStringLiteral("  <text x=\"%1\" y=\"%2\" class=\"%3\" text-anchor=\"%4\">%5%6</text>\n")
                .arg(number(left), number(baseline), QLatin1String(kind), QLatin1String(anchor),
                     tip.isEmpty() ? QString() : QStringLiteral("<title>%1</title>").arg(escaped(tip)), escaped(shown));
    }

    void rect(QString &layer, double left, double top, double width, double height, const char *kind)
    {
        layer += QStringLiteral("  <rect x=\"%1\" y=\"%2\" width=\"%3\" height=\"%4\" class=\"%5\"/>\n")
                     .arg(number(left), number(top), number(width), number(height), QLatin1String(kind));
    }

    void verticalLine(QString &layer, double left, double top, double until, const char *kind)
    {
        layer += QStringLiteral("  <line x1=\"%1\" y1=\"%2\" x2=\"%1\" y2=\"%3\" class=\"%4\"/>\n")
                     .arg(number(left), number(top), number(until), QLatin1String(kind));
    }

    void drawHead(const QString &host)
    {
        text(margin, margin + 18, title(host), "title");
        text(margin, margin + 40,
             QStringLiteral("modules: %1, steps: %2, critical chain: %3%4")
                 .arg(m_record.allModules().size())
                 .arg(m_record.steps.size())
                 .arg(Units::duration(m_record.critical),
                      m_record.isComplete ? QString() : QStringLiteral(", not complete")),
             "faint");
        drawLegend();
        const double interval = tickInterval(m_total, plotWidth);
        for (int i = 0; i * interval <= m_total; ++i) {
            const double left = x(quint64(i * interval));
            verticalLine(m_back, left, plotTop - 4, m_bottom, "grid");
            const QString label = i == 0 ? QStringLiteral("0") : Units::duration(quint64(i * interval));
            text(left, plotTop - 8, label, "faint", "middle");
            text(left, m_bottom + 16, label, "faint", "middle");
        }
    }

    void drawLegend()
    {
        double left = margin;
        const double baseline = margin + 62;
        const auto entry = [&](const char *kind, const QString &label) {
            rect(m_front, left, baseline - 10, 18, barHeight, kind);
            text(left + 24, baseline, label, "faint");
            left += 24 + cell * textWidth(label) + 18;
        };
        entry("bar", QStringLiteral("launched to ready"));
        entry("critical", QStringLiteral("critical chain"));
        entry("failed", QStringLiteral("not ready"));
        if (m_record.homepage > 0) {
            verticalLine(m_front, left + 9, baseline - 12, baseline + 4, "home");
            text(left + 24, baseline, QStringLiteral("home page at %1").arg(Units::duration(m_record.homepage)),
                 "faint");
        }
    }

    void drawSteps()
    {
        double top = plotTop;
        const double fullWidth = m_plotLeft - margin + plotWidth + labelRoom;
        for (const BootStep &step : m_record.steps) {
            rect(m_back, margin, top, fullWidth, stepHeight - 2, "band");
            const QString name = QStringLiteral("%1 %2").arg(step.value).arg(Console::printable(step.name));
            const QString took =
                step.started > 0 ? Units::duration(step.until - step.started) : QStringLiteral("not started");
            text(margin + 6, top + 17, shortened(name, int((m_plotLeft - margin - 18) / cell)), "step", "start",
                 step.name);
            if (step.started > 0) {
                rect(m_front, x(step.started), top + 11, qMax(narrowestBar, x(step.until) - x(step.started)), 4,
                     "span");
            }
            text(x(step.until) + 6, top + 17, took, "faint");
            top += stepHeight;
            for (const BootModule &module : step.modules) {
                drawModule(module, top);
                top += rowHeight;
            }
        }
    }

    void drawModule(const BootModule &module, double top)
    {
        const double left = x(module.launched);
        const double width = qMax(narrowestBar, x(module.until) - left);
        const QString took = Units::duration(module.duration());
        text(m_plotLeft - 12, top + 14, shortened(Console::printable(module.name), longestName), "", "end",
             module.name);
        rect(m_front, left, top + 4, width, barHeight,
             !module.isReady         ? "failed"
                 : module.isCritical ? "critical"
                                     : "bar");
        text(left + width + 6, top + 14, took, module.isCritical ? "" : "faint");
    }

    const BootRecord &m_record;
    const double m_total;
    const int m_plotLeft;
    const int m_bottom;
    QString m_back;
    QString m_front;
};

} // namespace

QString bootChart(const BootRecord &record, const QString &host)
{
    return Chart(record).draw(host);
}
