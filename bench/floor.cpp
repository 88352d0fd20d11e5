// The least that a supervisor on QProcess and QtDBus can do: start one module, wait for its announcement, start the
// next. What it takes is the floor that the daemon's start is measured against.
//
//     bench-floor DIRECTORY/ NAME...
//
// With BENCH_AT_ONCE it starts all of them before it waits, and BENCH_ARGUMENT is an argument of each.

#include "contract/Events.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QEventLoop>
#include <QProcess>

#include <memory>
#include <vector>

class Announcements : public QObject
{
    Q_OBJECT

public:
    void waitFor(const QString &event)
    {
        m_awaited = event;
        m_loop.exec();
    }

public Q_SLOTS:
    void arrived(const QDBusMessage &message)
    {
        if (message.arguments().value(0).toString() == m_awaited) {
            m_loop.quit();
        }
    }

private:
    QString m_awaited;
    QEventLoop m_loop;
};

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const QStringList names = QCoreApplication::arguments().mid(2);
    const QString directory = QCoreApplication::arguments().value(1);
    Announcements announcements;
    QDBusConnection::systemBus().connect(QString(), QString(), QStringLiteral("com.velmora.Jovara.JovEvent"),
                                         QStringLiteral("event"), QStringList(), QStringLiteral("sa{sv}"),
                                         &announcements, SLOT(arrived(QDBusMessage)));
    const bool atOnce = qEnvironmentVariableIsSet("BENCH_AT_ONCE");
    const QStringList extra = qEnvironmentVariable("BENCH_ARGUMENT").split(QLatin1Char(' '), Qt::SkipEmptyParts);
    std::vector<std::unique_ptr<QProcess>> modules;
    for (const QString &name : names) {
        modules.push_back(std::make_unique<QProcess>());
        QProcess &module = *modules.back();
        module.setWorkingDirectory(directory);
        module.setStandardOutputFile(QProcess::nullDevice());
        module.setStandardErrorFile(QProcess::nullDevice());
        module.start(directory + name, QStringList{QStringLiteral("--moduleName=") + name} + extra,
                     QIODevice::ReadWrite);
        module.waitForStarted();
        if (!atOnce) {
            announcements.waitFor(Events::endOfInitOf(name));
        }
    }
    return QCoreApplication::exec();
}

#include "floor.moc"
