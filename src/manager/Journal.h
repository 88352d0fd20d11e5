#ifndef JOURNAL_H
#define JOURNAL_H

#include <QObject>
#include <QString>

/// Tells whoever watches what happens to modules and steps, as it happens.
class Journal : public QObject
{
    Q_OBJECT

Q_SIGNALS:
    void moduleStateChanged(const QString &name, const QString &oldState, const QString &newState);
    void moduleLaunched(const QString &name, qint64 pid);
    void moduleExited(const QString &name, int exitCode);
    void stepStarted(const QString &name, int value);
    void stepDone(const QString &name, int value);
};

#endif
