#include "catalogue/Catalogue.h"

#include "catalogue/ConfigReader.h"
#include "catalogue/ModulePaths.h"
#include "catalogue/XmlFile.h"
#include "support/DataTable.h"
#include "support/RootDir.h"

#include <QDir>

#include <ctime>

#include <sys/stat.h>

namespace {

const QString ddrSize = "256MB"_s;
const QString folder = "/etc/JovApplication/module/kelmmi/"_s;
const QString file = folder + "config.xml"_s;

QByteArray withEntity(int size, int references)
{
    return "<!DOCTYPE c [<!ENTITY a '" + QByteArray(size, 'x') + "'>]><c>" + QByteArray("&a;").repeated(references)
        + "</c>";
}

QByteArray nested(int depth)
{
    return QByteArray("<c>").repeated(depth) + QByteArray("</c>").repeated(depth);
}

QByteArray numbered(const char *before, const char *pattern, int count, const char *after)
{
    QByteArray text = before;
    for (int i = 0; i < count; ++i) {
        text += QByteArray(pattern).replace('#', QByteArray::number(i));
    }
    return text + after;
}

} // namespace

Q_DECLARE_METATYPE(XmlFile::Result)

class CatalogueTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { m_root.keepLog(3); }

    void scan()
    {
        for (const char *name : {"a", "b", "d", "Z", ".hidden", "c/file"}) {
            m_root.write(ModulePaths::moduleDirectory() + QLatin1String(name), {});
        }
        m_root.write(ModulePaths::configDirectory() + "b/config.xml"_s,
                     "<config><initStep>net</initStep><description>B</description></config>");
        m_root.write(ModulePaths::configDirectory() + "Z/config.xml"_s, "<config>");
        m_root.write(ModulePaths::configDirectory() + "d/config.xml/file"_s, {});
        Catalogue catalogue;
        catalogue.applicationMap["stale"_s] = std::make_unique<ApplicationRecord>();
        catalogue.applicationMap["stale"_s]->setStatus(ConfigStatus::ok);
        QStringList placed;
        QVERIFY(catalogue.scanApplications(ApplicationType::Module, ddrSize, [&placed](ApplicationRecord &record) {
            placed.append(record.getName() + u' ' + record.getInitStep() + u' ' + record.getDescription());
        }));
        const QString failed = "%1 default Default Description : Error in config.xml parsing :%2"_s;
        const QStringList expected = {failed.arg("Z"_s, "CONFIG_FILE_NOT_PARSABLE"_s),
                                      failed.arg("a"_s, "NO_CONFIG_FILE"_s), "b net B"_s,
                                      failed.arg("d"_s, "CONFIG_FILE_NOT_READABLE"_s)};
        QCOMPARE(placed, expected);
        QVERIFY(m_root.log().contains("error Module a (default) added to list"_s));

        QCOMPARE(catalogue.addApplication(ApplicationType::Module, "a"_s, ddrSize), catalogue.find("a"_s));
        QVERIFY(!catalogue.addApplication(ApplicationType::WebApplication, "web"_s, ddrSize));
        QVERIFY(QDir(m_root.path(ModulePaths::moduleDirectory())).removeRecursively());
        QVERIFY(!catalogue.scanApplications(ApplicationType::Module, ddrSize, [](ApplicationRecord &) {}));
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
        record.setMaxMemory(MemoryCeiling(-1));
        record.setExtraArgs({"x"_s, "y"_s});
        QCOMPARE(record.toString(),
                 "ID:0 name:Gate type:0 status: state: description: settings_deployed:0 ov: or: "
                 "need_upgrade:1 initStep:net maxMemory:-1 depend:a;b extraArgs:x;y"_s);
    }

    void config_data()
    {
        columns<QString, QString>("xml", "expected"); // "STEP|DESCRIPTION|CEILING|DEPENDENCIES|ARGUMENTS"
        const auto add = [](const char *name, const char *elements, const char *expected) {
            row(name, "<config v='1'>"_s + QString::fromUtf8(elements) + "</config>"_s, QString::fromUtf8(expected));
        };
        add("all, in any order",
            "<extra_args><arg>-v</arg><arg>a b</arg></extra_args>\n<initStep>net</initStep><other>x</other>"
            "<dependencies><dependency>P</dependency></dependencies>\n<description>Dé</description>"
            "<maxMemory><DDRSz criteria='256MB'>300</DDRSz></maxMemory>",
            "net|Dé|300|P|-v;a b");
        row("foreign root", "<Config><initStep>net</initStep></Config>", "default||0||");
        add("undeclared prefix", "<x:y/><initStep>net</initStep>", "net||0||");
        add("empty step", "<initStep/>", "||0||");
        add("second of a name", "<initStep>a</initStep><initStep>b</initStep>", "a||0||");
        add("not a direct child", "<x><initStep>a</initStep></x>", "default||0||");
        row("entities and CDATA",
            "<!DOCTYPE config [<!ENTITY s 'ne'>]><config><initStep>&s;<![CDATA[t]]>&#33;</initStep></config>",
            "net!||0||");
        add("texts of children, and blanks",
            "<description> <x/> a<y>b<z> c</z></y>\nd </description><initStep><x> </x><![CDATA[ ]]></initStep>",
            " | ab c\nd |0||");
        row("references above 16 bits",
            "<!DOCTYPE config [<!ENTITY s '&#x1F600;'>]><config><description>&s;&#128512;</description>"
            "<initStep><!-- &#65536; --><![CDATA[&#65536;]]></initStep></config>",
            "&#65536;|\U0001f600\U0001f600|0||"_s);
        add("no size fits",
            "<maxMemory>300<x criteria='128MB'>3</x><x criteria='256mb'>4</x><DDRSz>5</DDRSz></maxMemory>",
            "default||0||");
        add("last match wins, of any name",
            "<maxMemory><DDRSz criteria='256MB'>1</DDRSz><x criteria='256MB'> 3 </x><DDRSz criteria='512MB'>2</DDRSz>"
            "</maxMemory>",
            "default||3||");
        add("match before the first size", "<maxMemory><x criteria='256MB'>3</x><DDRSz>4</DDRSz></maxMemory>",
            "default||0||");
        add("last is not a number",
            "<maxMemory><DDRSz criteria='256MB'>1</DDRSz><DDRSz criteria='256MB'>many</DDRSz></maxMemory>",
            "default||0||");
        add("negative", "<maxMemory><DDRSz criteria='256MB'>-5</DDRSz></maxMemory>", "default||-5||");
        add("lists go on with any name",
            "<dependencies><x>0</x><dependency>A</dependency><x>B</x><dependency/><dependency>C</dependency>"
            "</dependencies><extra_args><arg> a </arg><arg>b</arg></extra_args>",
            "default||0|A;B;;C| a ;b");
        add("list without its element", "<dependencies><x>A</x></dependencies>", "default||0||");
    }

    void config()
    {
        QFETCH(QString, xml);
        m_root.write(file, xml.toUtf8());
        ApplicationRecord record;
        record.setName("kelmmi"_s);
        readConfig(record, ddrSize);
        QVERIFY(!record.getSettingsDeployed());
        QCOMPARE(record.getStatus(), ConfigStatus::ok);
        const QStringList fields = {record.getInitStep(), record.getDescription(),
                                    QString::number(record.getMaxMemory().figure()),
                                    record.getDependencies().join(u';'), record.getExtraArgs().join(u';')};
        QTEST(fields.join(u'|'), "expected");
        readConfig(record, QString());
        QVERIFY(!record.getMaxMemory().isSet());
    }

    void strangeFile_data()
    {
        // What config.xml holds, or else where a link of that name leads.
        columns<QByteArray, QString, XmlFile::Result>("bytes", "link", "expected");
        using Result = XmlFile::Result;
        row("truncated", QByteArray("<config><initStep>net</initStep>"), "", Result::NotParsable);
        row("empty", QByteArray(""), "", Result::NotParsable);
        row("undeclared entity", QByteArray("<config><initStep>&x;</initStep></config>"), "", Result::NotParsable);
        row("deepest", nested(256), "", Result::Ok);
        row("too deep", nested(257), "", Result::NotParsable);
        row("many elements", numbered("<c>", "<a#/>", 300, "</c>"), "", Result::Ok);
        row("longest entity", withEntity(3500, 1), "", Result::Ok);
        row("too long an entity", withEntity(3600, 1), "", Result::NotParsable);
        row("repeated entity", withEntity(100, 200000), "", Result::NotParsable);
        row("entity within itself", QByteArray("<!DOCTYPE c [<!ENTITY a '&a;'>]><c>&a;</c>"), "", Result::NotParsable);
        row("many attributes", numbered("<c ", "a#='>' ", 60000, "/>"), "", Result::NotParsable);
        row("many defaults", numbered("<!DOCTYPE c [", "<!ATTLIST c a# CDATA ''>", 35000, "]><c/>"), "",
            Result::NotParsable);
        row("quotes in a comment", numbered("<c><!-- ", "'# ", 2001, "--></c>"), "", Result::Ok);
        row("largest", "<c>" + QByteArray(1024 * 1024 - 7, 'x') + "</c>", "", Result::Ok);
        row("too large", "<c>" + QByteArray(1024 * 1024 - 6, 'x') + "</c>", "", Result::NotParsable);
        row("nothing", QByteArray(), "", Result::Missing);
        row("dangling link", QByteArray(), "nowhere", Result::Missing);
        row("below a file", QByteArray(), "other/file", Result::Missing);
        row("link to itself", QByteArray(), "config.xml", Result::NotReadable);
        row("folder", QByteArray(), "/", Result::NotReadable);
        row("device", QByteArray(), "/dev/zero", Result::NotReadable);
        row("pipe", QByteArray(), "pipe", Result::NotReadable);
    }

    void strangeFile()
    {
        const auto [bytes, link] = cells<QByteArray, QString>();
        QDir(m_root.path(folder)).removeRecursively();
        m_root.write(folder + "other"_s, QByteArray());
        QCOMPARE(::mkfifo(QFile::encodeName(m_root.path(folder + "pipe"_s)).constData(), 0600), 0);
        if (!bytes.isNull()) {
            m_root.write(file, bytes);
        } else if (!link.isEmpty()) {
            m_root.link(file, link);
        }
        const std::clock_t before = std::clock();
        const XmlFile read = readXmlFile(m_root.path(file));
        QTEST(read.result, "expected");
        QVERIFY(std::clock() - before < 2 * CLOCKS_PER_SEC);
    }

private:
    RootDir m_root;
};

QTEST_GUILESS_MAIN(CatalogueTest)
#include "CatalogueTest.moc"
