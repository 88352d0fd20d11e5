#ifndef NARRATOR_H
#define NARRATOR_H

#include "BootRecord.h"
#include "DaemonLine.h"
#include "Display.h"
#include "FileFollower.h"

#include <QObject>
#include <QSet>
#include <QVariant>

#include <memory>

class TerminalBus;
class TerminalRoot;

/**
 * Tells what happens on the terminal, a line for each thing, from three sources: the events on the bus (a module is
 * started, is ready, is asked to stop), the daemon's log (steps, failures, crashes) and what the stand-ins were asked
 * for. Keeps the record of the boot on the way.
 */
class Narrator : public QObject
{
    Q_OBJECT

public:
    Narrator(Display &display, const TerminalBus &bus, const TerminalRoot &root);

    /// False when the files to follow cannot be read.
    bool open();
    /// From here on it tells of a new boot.
    void beginBoot();
    /// The supervisor has ended: what becomes of its modules is told by somebody else.
    void endBoot() { m_isOver = true; }
    /// Reads what the log holds by now.
    void catchUp();

    [[nodiscard]] BootRecord &boot() { return *m_boot; }
    void tell(const QString &subject, const QString &text, Display::Tone tone = Display::Tone::Plain);
    void showProgress();

Q_SIGNALS:
    void bootComplete();
    void endOfInit();
    void rebootAsked();

private:
    void heard(const QString &event, const QVariantMap &arguments);
    void moduleUp(const QString &name);
    void moduleGone(const QString &service);
    void read(const DaemonLine &line);
    void stepDone(const DaemonLine &line);
    void requested(const QString &line);
    void tellOfArchive();

    Display &m_display;
    const TerminalRoot &m_root;
    FileFollower m_log;
    FileFollower m_requests;
    std::unique_ptr<BootRecord> m_boot;
    QSet<QString> m_askedToStop;
    QDateTime m_crashedAt;
    bool m_isOver = false;
};

#endif
