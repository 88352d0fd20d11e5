#include "client/BusClient.h"
#include "client/Console.h"
#include "jovctl/Command.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>

namespace {

/**
 * Prints the forest of each step. A module with several dependencies is printed below each of them, but its dependents
 * only the first time: in a ladder of diamonds the output would double with every rung.
 */
class TreePrinter
{
public:
    explicit TreePrinter(const ModuleList &modules)
        : m_modules(modules)
        , m_branch(Console::isUtf8() ? QStringLiteral("├─ ") : QStringLiteral("|- "))
        , m_lastBranch(Console::isUtf8() ? QStringLiteral("└─ ") : QStringLiteral("`- "))
        , m_bar(Console::isUtf8() ? QStringLiteral("│  ") : QStringLiteral("|  "))
    { }

    void print(const StepInfo &step)
    {
        Console::writeLine(QStringLiteral("%1 %2%3")
                               .arg(step.value)
                               .arg(Console::coloured(Console::printable(step.name), Console::Colour::Bold),
                                    step.showHomepage ? QStringLiteral(" (shows the home page)") : QString()));
        printAll(roots(step), QString());
    }

private:
    [[nodiscard]] QStringList roots(const StepInfo &step) const
    {
        QStringList roots;
        for (const QString &name : step.modules) {
            const ModuleInfo *module = findModule(m_modules, name);
            if (module && module->dependencies.isEmpty()) {
                roots << name;
            }
        }
        return roots;
    }

    void printAll(const QStringList &names, const QString &indent)
    {
        for (int i = 0; i < names.size(); ++i) {
            const ModuleInfo *module = findModule(m_modules, names.at(i));
            if (!module) {
                continue;
            }
            const bool isLast = i == names.size() - 1;
            const bool isRepeated = m_printed.contains(module->name) && !module->dependents.isEmpty();
            m_printed.insert(module->name);
            Console::writeLine(indent + (isLast ? m_lastBranch : m_branch) + Console::printable(module->name)
                               + QLatin1Char(' ') + Console::colouredState(module->stateText)
                               + (isRepeated ? QStringLiteral(" (see above)") : QString()));
            if (!isRepeated) {
                printAll(module->dependents, indent + (isLast ? QStringLiteral("   ") : m_bar));
            }
        }
    }

    const ModuleList &m_modules;
    const QString m_branch;
    const QString m_lastBranch;
    const QString m_bar;
    QSet<QString> m_printed;
};

QString quoted(QString text)
{
    text.replace(QLatin1Char('\\'), QStringLiteral("\\\\")).replace(QLatin1Char('"'), QStringLiteral("\\\""));
    return QLatin1Char('"') + Console::printable(text) + QLatin1Char('"');
}

void printDot(const StepList &steps, const ModuleList &modules)
{
    QString text =
        QStringLiteral("digraph modules {\n    rankdir=LR;\n    node [shape=box, fontname=\"sans-serif\"];\n");
    for (const StepInfo &step : steps) {
        text += QStringLiteral("    subgraph \"cluster_%1\" {\n        label=%2;\n")
                    .arg(step.value)
                    .arg(quoted(QStringLiteral("%1 %2").arg(step.value).arg(step.name)));
        for (const QString &name : step.modules) {
            text += QStringLiteral("        %1;\n").arg(quoted(name));
        }
        text += QStringLiteral("    }\n");
    }
    for (const ModuleInfo &module : modules) {
        for (const QString &dependency : module.dependencies) {
            text += QStringLiteral("    %1 -> %2;\n").arg(quoted(dependency), quoted(module.name));
        }
    }
    Console::write(text + QStringLiteral("}\n"));
}

void printJson(const StepList &steps, const ModuleList &modules)
{
    QJsonArray array;
    for (const StepInfo &step : steps) {
        QJsonArray members;
        for (const QString &name : step.modules) {
            const ModuleInfo *module = findModule(modules, name);
            members << QJsonObject{{QStringLiteral("name"), name},
                                   {QStringLiteral("state"), module ? module->stateText : QString()},
                                   {QStringLiteral("dependencies"),
                                    QJsonArray::fromStringList(module ? module->dependencies : QStringList())}};
        }
        array << QJsonObject{{QStringLiteral("name"), step.name},
                             {QStringLiteral("value"), step.value},
                             {QStringLiteral("showHomepage"), step.showHomepage},
                             {QStringLiteral("modules"), members},
                             {QStringLiteral("startedAt"), qint64(step.startedAt)},
                             {QStringLiteral("doneAt"), qint64(step.doneAt)}};
    }
    Console::writeJson(QJsonDocument(array));
}

} // namespace

ExitStatus Commands::tree(const Arguments &arguments)
{
    const BusClient client;
    const ModuleList modules = client.modules();
    const StepList steps = client.steps();
    if (arguments.isSet(QStringLiteral("dot"))) {
        printDot(steps, modules);
    } else if (arguments.wantsJson()) {
        printJson(steps, modules);
    } else {
        TreePrinter printer(modules);
        for (const StepInfo &step : steps) {
            printer.print(step);
        }
    }
    return ExitStatus::Done;
}
