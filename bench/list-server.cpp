// Answers with the daemon's own list of modules, as a bare QtDBus object can: the floor of a control call.
//
//     bench-list-server     takes the name com.velmora.Jovara.BareList and reads the list from the daemon once

#include "qtdbus/BusRecords.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusInterface>
#include <QDBusReply>

class BareList : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.velmora.Jovara.BareList")

public:
    explicit BareList(const ListApplicationConfig &list)
        : m_list(list)
    { }

public Q_SLOTS:
    Q_SCRIPTABLE ListApplicationConfig getModulesList() const { return m_list; }

private:
    const ListApplicationConfig m_list;
};

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    registerQtDBusRecords();
    QDBusConnection bus = QDBusConnection::systemBus();
    QDBusInterface daemon(QStringLiteral("com.velmora.Jovara.ApplicationManager"),
                          QStringLiteral("/ApplicationManager"), QStringLiteral("com.velmora.Jovara.JovInterface"),
                          bus);
    const QDBusReply<ListApplicationConfig> reply = daemon.call(QStringLiteral("getModulesList"));
    if (!reply.isValid()) {
        qCritical("%s", qPrintable(reply.error().message()));
        return 1;
    }
    BareList list(reply.value());
    if (!bus.registerObject(QStringLiteral("/BareList"), &list, QDBusConnection::ExportScriptableSlots)
        || !bus.registerService(QStringLiteral("com.velmora.Jovara.BareList"))) {
        return 1;
    }
    return QCoreApplication::exec();
}

#include "list-server.moc"
