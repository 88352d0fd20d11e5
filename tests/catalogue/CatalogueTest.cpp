#include "Catalogue.h"

#include "ModulePaths.h"
#include "RootDir.h"

#include <QDir>
#include <QtTest>

namespace {

const QString ddrSize = QStringLiteral("256MB");

void doNothing(ApplicationRecord & /*record*/) { }

} // namespace

class CatalogueTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { m_root.keepLog(3); }

    void init()
    {
        QDir(ModulePaths::rootedModuleDirectory()).removeRecursively();
        QDir(ModulePaths::rootedConfigDirectory()).removeRecursively();
    }

    void scan()
    {
        install(QStringLiteral("b"), "<config><initStep>net</initStep><description>B</description></config>");
        install(QStringLiteral("a"), QByteArray());
        install(QStringLiteral("Z"), "<config>");
        install(QStringLiteral(".hidden"), "<config/>");
        install(QStringLiteral("c/file"), QByteArray());
        Catalogue catalogue;
        catalogue.applicationMap[QStringLiteral("stale")] = std::make_unique<ApplicationRecord>();
        QStringList placed;
        QVERIFY(catalogue.scanApplications(ApplicationType::Module, ddrSize, [&placed](ApplicationRecord &record) {
            placed.append(record.getName() + QLatin1Char(' ') + record.getInitStep() + QLatin1Char(' ')
                          + record.getDescription());
        }));
        const QString failed = QStringLiteral("%1 default Default Description : Error in config.xml parsing :%2");
        const QStringList expected = {failed.arg(QStringLiteral("Z"), QStringLiteral("CONFIG_FILE_NOT_PARSABLE")),
                                      failed.arg(QStringLiteral("a"), QStringLiteral("NO_CONFIG_FILE")),
                                      QStringLiteral("b net B")};
        QCOMPARE(placed, expected);
        QVERIFY(m_root.log().contains(QStringLiteral("error Module a (default) added to list")));

        ApplicationRecord *known = catalogue.find(QStringLiteral("a"));
        QCOMPARE(catalogue.addApplication(ApplicationType::Module, QStringLiteral("a"), ddrSize), known);
        QVERIFY(!catalogue.addApplication(ApplicationType::WebApplication, QStringLiteral("web"), ddrSize));
    }

    void scanWithoutDirectory()
    {
        Catalogue catalogue;
        catalogue.applicationMap[QStringLiteral("stale")] = std::make_unique<ApplicationRecord>();
        QVERIFY(!catalogue.scanApplications(ApplicationType::Module, ddrSize, doNothing));
        QVERIFY(catalogue.applicationMap.empty());
        QDir().mkpath(ModulePaths::rootedModuleDirectory());
        QVERIFY(catalogue.scanApplications(ApplicationType::Module, ddrSize, doNothing));
        QVERIFY(catalogue.scanApplications(ApplicationType::WebApplication, ddrSize, doNothing));
    }

    void listsSkipEmptyEntries()
    {
        const QString empty = QStringLiteral("empty");
        const QString module = QStringLiteral("module");
        Catalogue catalogue;
        QVERIFY(!catalogue.find(empty));
        QVERIFY(catalogue.applicationMap.empty());
        QVERIFY(!catalogue.applicationMap[empty]);
        QCOMPARE(catalogue.getApplicationsListInString(), QStringLiteral("\n"));

        ApplicationRecord *record = catalogue.addApplication(ApplicationType::Module, module, ddrSize);
        QCOMPARE(catalogue.getModulesListInString(), record->toString() + QLatin1Char('\n'));
        ApplicationConfig own;
        own.setName(QStringLiteral("ApplicationManager"));
        const ListApplicationConfig deployed = catalogue.getApplicationsForSettingsDeployment(own);
        QCOMPARE(deployed.size(), 2);
        QCOMPARE(deployed.first().getName(), own.getName());

        QCOMPARE(catalogue.getApplicationID(empty), QString());
        QCOMPARE(catalogue.getApplicationID(module), QString());
        record->setID(QStringLiteral("42"));
        QCOMPARE(catalogue.getApplicationID(module), QStringLiteral("42"));
    }

    void textForm()
    {
        ApplicationRecord record;
        record.setName(QStringLiteral("Gate"));
        record.setDependencies({QStringLiteral("a"), QStringLiteral("b")});
        record.setInitStep(QStringLiteral("net"));
        record.setNeedUpgrade(true);
        record.setMaxMemory(-1);
        QCOMPARE(record.toString(),
                 QStringLiteral("ID:0 name:Gate type:0 status: state: description: settings_deployed:0 ov: or: "
                                "need_upgrade:1 initStep:net maxMemory:-1 depend:a;b extraArgs:"));
    }

private:
    void install(const QString &name, const QByteArray &config) const
    {
        m_root.write(ModulePaths::moduleDirectory() + name, QByteArray());
        if (!config.isEmpty()) {
            m_root.write(ModulePaths::configDirectory() + name + QStringLiteral("/config.xml"), config);
        }
    }

    RootDir m_root;
};

QTEST_GUILESS_MAIN(CatalogueTest)
#include "CatalogueTest.moc"
