#include "Catalogue.h"

#include "ModulePaths.h"
#include "RootDir.h"

#include <QtTest>

namespace {

const QString ddrSize = "256MB"_s;

} // namespace

class CatalogueTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { m_root.keepLog(3); }

    void scan()
    {
        install("b"_s, "<config><initStep>net</initStep><description>B</description></config>");
        install("a"_s, QByteArray());
        install("Z"_s, "<config>");
        install(".hidden"_s, "<config/>");
        install("c/file"_s, QByteArray());
        Catalogue catalogue;
        catalogue.applicationMap["stale"_s] = std::make_unique<ApplicationRecord>();
        QStringList placed;
        QVERIFY(catalogue.scanApplications(ApplicationType::Module, ddrSize, [&placed](ApplicationRecord &record) {
            placed.append(record.getName() + u' ' + record.getInitStep() + u' ' + record.getDescription());
        }));
        const QString failed = "%1 default Default Description : Error in config.xml parsing :%2"_s;
        const QStringList expected = {failed.arg("Z"_s, "CONFIG_FILE_NOT_PARSABLE"_s),
                                      failed.arg("a"_s, "NO_CONFIG_FILE"_s), "b net B"_s};
        QCOMPARE(placed, expected);
        QVERIFY(m_root.log().contains("error Module a (default) added to list"_s));

        ApplicationRecord *known = catalogue.find("a"_s);
        QCOMPARE(catalogue.addApplication(ApplicationType::Module, "a"_s, ddrSize), known);
        QVERIFY(!catalogue.addApplication(ApplicationType::WebApplication, "web"_s, ddrSize));
    }

    void listsSkipEmptyEntries()
    {
        const QString empty = "empty"_s;
        Catalogue catalogue;
        QVERIFY(!catalogue.find(empty));
        QVERIFY(catalogue.applicationMap.empty());
        QVERIFY(!catalogue.applicationMap[empty]);
        QCOMPARE(catalogue.getApplicationsListInString(), "\n"_s);

        ApplicationRecord *record = catalogue.addApplication(ApplicationType::Module, "module"_s, ddrSize);
        QCOMPARE(catalogue.getModulesListInString(), record->toString() + u'\n');
        ApplicationConfig own;
        own.setName("ApplicationManager"_s);
        const ListApplicationConfig deployed = catalogue.getApplicationsForSettingsDeployment(own);
        QCOMPARE(deployed.size(), 2);
        QCOMPARE(deployed.first().getName(), own.getName());

        record->setID("42"_s);
        QCOMPARE(catalogue.getApplicationID(empty) + catalogue.getApplicationID("module"_s), "42"_s);
    }

    void textForm()
    {
        ApplicationRecord record;
        record.setName("Gate"_s);
        record.setDependencies({"a"_s, "b"_s});
        record.setInitStep("net"_s);
        record.setNeedUpgrade(true);
        record.setMaxMemory(-1);
        QCOMPARE(record.toString(),
                 "ID:0 name:Gate type:0 status: state: description: settings_deployed:0 ov: or: "
                 "need_upgrade:1 initStep:net maxMemory:-1 depend:a;b extraArgs:"_s);
    }

private:
    void install(const QString &name, const QByteArray &config) const
    {
        m_root.write(ModulePaths::moduleDirectory() + name, QByteArray());
        if (!config.isEmpty()) {
            m_root.write(ModulePaths::configDirectory() + name + "/config.xml"_s, config);
        }
    }

    RootDir m_root;
};

QTEST_GUILESS_MAIN(CatalogueTest)
#include "CatalogueTest.moc"
