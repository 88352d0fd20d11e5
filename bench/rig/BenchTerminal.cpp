#include "rig/BenchTerminal.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace {

const QString platformIni = QStringLiteral("[log]\nlevel=6\nfile=/var/log/manager.log\n");
const QString onlyStep = QStringLiteral("bench");

QString numbered(int number)
{
    return QStringLiteral("m%1").arg(number, 4, 10, QLatin1Char('0'));
}

} // namespace

BenchTerminal::BenchTerminal(const QString &moduleProgram)
    : m_moduleProgram(moduleProgram)
{
    qputenv("JOV_ROOT", QFile::encodeName(m_root.path()));
    QDir root(m_root.path());
    for (const char *directory : {"usr/lib/JovApplication", "var/log", "log", "tmp"}) {
        root.mkpath(QLatin1String(directory));
    }
    write(QStringLiteral("/etc/JovApplication/platform.ini"), platformIni);
    setSteps({onlyStep});
}

BenchTerminal::~BenchTerminal()
{
    qunsetenv("JOV_ROOT");
}

void BenchTerminal::write(const QString &below, const QString &text) const
{
    const QString whole = path(below);
    QDir().mkpath(whole.left(whole.lastIndexOf(QLatin1Char('/'))));
    QFile file(whole);
    if (!file.open(QIODevice::WriteOnly) || file.write(text.toUtf8()) < 0) {
        qFatal("cannot write %s: %s", qPrintable(whole), qPrintable(file.errorString()));
    }
}

void BenchTerminal::setSteps(const QStringList &names) const
{
    QString text = QStringLiteral("<initStep>\n");
    for (int i = 0; i < names.size(); ++i) {
        text += QStringLiteral("  <step name=\"%1\" value=\"%2\"%3/>\n")
                    .arg(names.at(i), QString::number(i + 1),
                         i + 1 == names.size() ? QStringLiteral(" show_homepage=\"true\"") : QString());
    }
    write(QStringLiteral("/etc/JovApplication/module/ApplicationManager/initStep.xml"),
          text + QStringLiteral("</initStep>\n"));
}

void BenchTerminal::setParallel() const
{
    write(QStringLiteral("/etc/JovApplication/module/ApplicationManager/initStep.xml"),
          QStringLiteral("<initStep><step name=\"%1\" value=\"1\" parallel=\"true\"/></initStep>\n").arg(onlyStep));
}

void BenchTerminal::setParameter(const QString &line) const
{
    write(QStringLiteral("/etc/JovApplication/platform.ini"),
          platformIni + QStringLiteral("[ApplicationManager]\n%1\n").arg(line));
}

void BenchTerminal::add(const Module &module) const
{
    QString text =
        QStringLiteral("<config>\n  <initStep>%1</initStep>\n").arg(module.step.isEmpty() ? onlyStep : module.step);
    if (!module.dependencies.isEmpty()) {
        text += QStringLiteral("  <dependencies>\n");
        for (const QString &dependency : module.dependencies) {
            text += QStringLiteral("    <dependency>%1</dependency>\n").arg(dependency);
        }
        text += QStringLiteral("  </dependencies>\n");
    }
    if (module.maxMemory > 0) {
        text += QStringLiteral("  <maxMemory><DDRSz criteria=\"256MB\">%1</DDRSz></maxMemory>\n").arg(module.maxMemory);
    }
    if (!module.arguments.isEmpty()) {
        text += QStringLiteral("  <extra_args>\n");
        for (const QString &argument : module.arguments) {
            text += QStringLiteral("    <arg>%1</arg>\n").arg(argument);
        }
        text += QStringLiteral("  </extra_args>\n");
    }
    write(QStringLiteral("/etc/JovApplication/module/%1/config.xml").arg(module.name),
          text + QStringLiteral("</config>\n"));
    // jovctl verify follows links inside the root.
    const QString program = path(QStringLiteral("/usr/libexec/module"));
    if (!QFile::exists(program)) {
        QDir().mkpath(QFileInfo(program).path());
        QFile::copy(m_moduleProgram, program);
    }
    QFile::link(QStringLiteral("../../libexec/module"), moduleDirectory() + module.name);
}

QStringList BenchTerminal::addChain(int count) const
{
    QStringList names;
    for (int i = 1; i <= count; ++i) {
        Module module;
        module.name = numbered(i);
        if (i > 1) {
            module.dependencies.append(names.last());
        }
        add(module);
        names.append(module.name);
    }
    return names;
}

QStringList BenchTerminal::addIndependent(int count, const QStringList &arguments) const
{
    QStringList names;
    for (int i = 1; i <= count; ++i) {
        Module module;
        module.name = numbered(i);
        module.arguments = arguments;
        add(module);
        names.append(module.name);
    }
    return names;
}
