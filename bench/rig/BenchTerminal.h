#ifndef BENCH_TERMINAL_H
#define BENCH_TERMINAL_H

#include <QString>
#include <QStringList>
#include <QTemporaryDir>

/**
 * A terminal's files under a temporary root, which is JOV_ROOT for whatever is started while the object lives. All of
 * its modules are links to one program. The daemon logs into a file at level 6, as a terminal does.
 */
class BenchTerminal
{
public:
    explicit BenchTerminal(const QString &moduleProgram);
    ~BenchTerminal();
    BenchTerminal(const BenchTerminal &) = delete;
    BenchTerminal &operator=(const BenchTerminal &) = delete;

    /// Steps of these names, with the values 1, 2, ..., the last of which shows the home page.
    void setSteps(const QStringList &names) const;
    /// The only step becomes parallel.
    void setParallel() const;
    /// "KEY=VALUE" of the section [ApplicationManager].
    void setParameter(const QString &line) const;
    struct Module
    {
        QString name;
        QString step;
        QStringList dependencies;
        int maxMemory = 0;
        QStringList arguments;
    };
    void add(const Module &module) const;

    /// `count` modules in the only step, each depending on the one before it. Returns their names.
    QStringList addChain(int count) const;
    /// `count` modules in the only step that depend on nothing. Returns their names.
    QStringList addIndependent(int count, const QStringList &arguments = {}) const;

    [[nodiscard]] QString path(const QString &below) const { return m_root.path() + below; }
    [[nodiscard]] QString logFile() const { return path(QStringLiteral("/var/log/manager.log")); }
    [[nodiscard]] QString moduleDirectory() const { return path(QStringLiteral("/usr/lib/JovApplication/")); }

private:
    void write(const QString &below, const QString &text) const;

    QString m_moduleProgram;
    QTemporaryDir m_root;
};

#endif
