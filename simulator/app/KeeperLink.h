#ifndef KEEPER_LINK_H
#define KEEPER_LINK_H

#include "app/KeeperMessage.h"

#include <QObject>
#include <QString>
#include <QStringList>

#include <memory>

class QSocketNotifier;

/**
 * The simulator's side of its keeper (see Keeper): has processes started, signalled and cleared away, and hears of
 * their end. close() ends everything that the keeper keeps and waits for it.
 *
 * Should the keeper itself be killed, everything falls to the simulator, which is a subreaper too: lost() is emitted
 * after it has cleared all away.
 */
class KeeperLink : public QObject
{
    Q_OBJECT

public:
    KeeperLink();
    ~KeeperLink() override;

    /// Forks the keeper. To be called before the process has any threads. `root` is removed with everything else unless
    /// `keepRoot`. False when there can be no keeper.
    bool open(const QString &root, bool keepRoot);
    void close();

    void run(const QString &name, const QString &output, const QStringList &commandLine);
    void signal(const QString &name, int number);
    /// Kills what is left but the process of that name.
    void clearAllBut(const QString &name);

Q_SIGNALS:
    void started(const QString &name, qint64 pid);
    void failed(const QString &name, const QString &why);
    void ended(const QString &name, int waitStatus);
    void cleared(int count);
    void lost();

private:
    void receive();
    void clearAwayMyself();

    QString m_root;
    bool m_keepRoot = false;
    int m_socket = -1;
    pid_t m_keeper = 0;
    std::unique_ptr<QSocketNotifier> m_notifier;
};

#endif
