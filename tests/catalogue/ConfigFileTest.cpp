#include "ConfigReader.h"
#include "DataTable.h"
#include "RootDir.h"
#include "XmlFile.h"

#include <QDir>
#include <QtTest>

#include <ctime>

#include <sys/stat.h>

namespace {

const QString folder = QStringLiteral("/etc/JovApplication/module/kelmmi/");
const QString file = folder + QStringLiteral("config.xml");

QByteArray entityBomb(int levels, int references)
{
    QByteArray text = "<!DOCTYPE config [<!ENTITY e0 \"0123456789\">";
    for (int level = 1; level <= levels; ++level) {
        const QByteArray inner = "&e" + QByteArray::number(level - 1) + ";";
        text += "<!ENTITY e" + QByteArray::number(level) + " \"" + inner.repeated(10) + "\">";
    }
    const QByteArray outer = "&e" + QByteArray::number(levels) + ";";
    return text + "]><config><description>" + outer.repeated(references) + "</description></config>";
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

class ConfigFileTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QDir(m_root.path(folder)).removeRecursively(); }
    void config_data()
    {
        columns<QString, QString>("xml", "expected");
        const auto sizes = [](const char *name, const char *xml, const char *expected) {
            row(name, QStringLiteral("<config><maxMemory>%1</maxMemory></config>").arg(QLatin1String(xml)), expected);
        };
        row("all, in any order",
            "<config v='1'><extra_args><arg>-v</arg><arg>a b</arg></extra_args><initStep>net</initStep><other>x</other>"
            "<dependencies><dependency>P</dependency></dependencies><description>D\xc3\xa9</description>"
            "<maxMemory><DDRSz criteria='256MB'>300</DDRSz></maxMemory></config>",
            "CONFIG_OK|net|D\xc3\xa9|300|P|-v;a b");
        row("nothing", "<config/>", "CONFIG_OK|default||0||");
        row("foreign root", "<Config><initStep>net</initStep></Config>", "CONFIG_OK|default||0||");
        row("undeclared prefix", "<config><x:y/><initStep>net</initStep></config>", "CONFIG_OK|net||0||");
        row("empty step", "<config><initStep/></config>", "CONFIG_OK|||0||");
        row("second of a name", "<config><initStep>a</initStep><initStep>b</initStep></config>", "CONFIG_OK|a||0||");
        row("not a direct child", "<config><x><initStep>a</initStep></x></config>", "CONFIG_OK|default||0||");
        row("entities and CDATA",
            "<!DOCTYPE config [<!ENTITY s 'ne'>]><config><initStep>&s;<![CDATA[t]]>&#33;</initStep></config>",
            "CONFIG_OK|net!||0||");
        sizes("no size fits", "<DDRSz criteria='128MB'>3</DDRSz><DDRSz criteria='256mb'>4</DDRSz><DDRSz>5</DDRSz>",
              "CONFIG_OK|default||0||");
        sizes("last match wins, of any name",
              "<DDRSz criteria='256MB'>1</DDRSz><x criteria='256MB'> 3 </x><DDRSz criteria='512MB'>2</DDRSz>",
              "CONFIG_OK|default||3||");
        sizes("match before the first size", "<x criteria='256MB'>3</x><DDRSz>4</DDRSz>", "CONFIG_OK|default||0||");
        sizes("last is not a number", "<DDRSz criteria='256MB'>1</DDRSz><DDRSz criteria='256MB'>many</DDRSz>",
              "CONFIG_OK|default||0||");
        sizes("negative", "<DDRSz criteria='256MB'>-5</DDRSz>", "CONFIG_OK|default||-5||");
        sizes("own text", "300", "CONFIG_OK|default||0||");
        row("lists go on with any name",
            "<config><dependencies><x>0</x><dependency>A</dependency><x>B</x><dependency/><dependency>C</dependency>"
            "</dependencies><extra_args><arg> a </arg></extra_args></config>",
            "CONFIG_OK|default||0|A;B;;C| a ");
        row("list without its element", "<config><dependencies><x>A</x></dependencies></config>",
            "CONFIG_OK|default||0||");
        row("truncated", "<config><initStep>net</initStep>", "CONFIG_FILE_NOT_PARSABLE|default||0||");
        row("empty file", "", "CONFIG_FILE_NOT_PARSABLE|default||0||");
        row("undeclared entity", "<config><initStep>&x;</initStep></config>", "CONFIG_FILE_NOT_PARSABLE|default||0||");
    }

    void config()
    {
        QFETCH(QString, xml);
        m_root.write(file, xml.toUtf8());
        ApplicationRecord record;
        record.setName(QStringLiteral("kelmmi"));
        readConfig(record, QStringLiteral("256MB"));
        const QStringList fields = {record.getStatus(),
                                    record.getInitStep(),
                                    record.getDescription(),
                                    QString::number(record.getMaxMemory()),
                                    record.getDependencies().join(QLatin1Char(';')),
                                    record.getExtraArgs().join(QLatin1Char(';'))};
        QTEST(fields.join(QLatin1Char('|')), "expected");
        readConfig(record, QString());
        QCOMPARE(record.getMaxMemory(), 0);
    }

    void strangeFile_data()
    {
        columns<QByteArray, QString, XmlFile::Result>(
            "bytes", "link", "expected"); // what config.xml holds, or else where a link of that name leads
        using Result = XmlFile::Result;
        const auto bytes = [](const char *name, const QByteArray &text, Result expected) {
            row(name, text, QString(), expected);
        };
        const auto link = [](const char *name, const char *target, Result expected) {
            row(name, QByteArray(), QString::fromUtf8(target), expected);
        };
        bytes("deepest", nested(256), Result::Ok);
        bytes("too deep", nested(257), Result::NotParsable);
        bytes("far too deep", nested(100000), Result::NotParsable);
        bytes("nested entities of 10 GB", entityBomb(9, 1), Result::NotParsable);
        bytes("repeated entities of 1 GB", entityBomb(2, 200000), Result::NotParsable);
        bytes("entity within itself", "<!DOCTYPE c [<!ENTITY a '&a;'>]><c>&a;</c>", Result::NotParsable);
        bytes("many attributes", numbered("<c ", "a#='>' ", 60000, "/>"), Result::NotParsable);
        bytes("many entities", numbered("<!DOCTYPE c [", "<!ENTITY e# ''>", 40000, "]><c/>"), Result::NotParsable);
        bytes("quotes in a comment", numbered("<c><!-- ", "'# ", 2001, "--></c>"), Result::Ok);
        bytes("largest", "<c>" + QByteArray(1024 * 1024 - 7, 'x') + "</c>", Result::Ok);
        bytes("too large", "<c>" + QByteArray(1024 * 1024 - 6, 'x') + "</c>", Result::NotParsable);
        link("nothing", "", Result::Missing);
        link("dangling link", "nowhere", Result::Missing);
        link("link to itself", "config.xml", Result::NotReadable);
        link("folder", "/", Result::NotReadable);
        link("device", "/dev/zero", Result::NotReadable);
        link("pipe", "pipe", Result::NotReadable);
    }

    void strangeFile()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(QString, link);
        m_root.write(folder + QStringLiteral("other"), QByteArray());
        QCOMPARE(::mkfifo(QFile::encodeName(m_root.path(folder + QStringLiteral("pipe"))).constData(), 0600), 0);
        if (!bytes.isEmpty()) {
            m_root.write(file, bytes);
        } else if (!link.isEmpty()) {
            m_root.link(file, link);
        }
        const std::clock_t before = std::clock();
        const XmlFile read = readXmlFile(m_root.path(file), QStringLiteral("config"));
        QTEST(read.result, "expected");
        QVERIFY(std::clock() - before < 2 * CLOCKS_PER_SEC);
    }

private:
    RootDir m_root;
};

QTEST_GUILESS_MAIN(ConfigFileTest)
#include "ConfigFileTest.moc"
