#include "verify/ParametersCheck.h"

#include "client/NearMiss.h"
#include "contract/Components.h"
#include "contract/FileNames.h"
#include "root/PlatformIni.h"
#include "supervision/Parameters.h"
#include "system/RegularFile.h"
#include "verify/RootFile.h"

#include <jov/JovLogger.h>

#include <QHash>

namespace {

constexpr qint64 largestFile = 1 << 20;
constexpr int shortestPart = 3;

const QString iniPath = QStringLiteral("/etc/JovApplication/platform.ini");
const QString platformSection = QStringLiteral("platform");
const QString logSection = QStringLiteral("log");

/// The keys of the sections that have no others.
const QHash<QString, QStringList> &keysOf()
{
    static const QHash<QString, QStringList> keys{{logSection, {QStringLiteral("level"), QStringLiteral("file")}},
                                                  {Components::applicationManager, Parameters::keys()}};
    return keys;
}

struct Line
{
    int number;
    QByteArray text;
};

/// Lines as QSettings divides the text: a quoted value can continue on the next one, and a semicolon begins a comment.
QList<Line> linesOf(const QByteArray &text)
{
    QList<Line> lines;
    int number = 1;
    Line line{number, {}};
    bool isQuoted = false;
    bool isComment = false;
    for (int i = 0; i <= text.size(); ++i) {
        const char character = i < text.size() ? text.at(i) : '\n';
        if (character == '\n' && (!isQuoted || i == text.size())) {
            line.text = line.text.trimmed();
            if (!line.text.isEmpty()) {
                lines.append(line);
            }
            line = {number + 1, {}};
            isComment = false;
        } else if (character == ';' && !isQuoted) {
            isComment = true;
        } else if (!isComment) {
            isQuoted = isQuoted != (character == '"');
            line.text += character;
            if (character == '\\' && i + 1 < text.size()) {
                line.text += text.at(++i);
                number += text.at(i) == '\n' ? 1 : 0;
            }
        }
        number += character == '\n' ? 1 : 0;
    }
    return lines;
}

class ParametersCheck
{
public:
    ParametersCheck(const QStringList &modules, Findings &findings)
        : m_sections(QStringList{platformSection, logSection, Components::applicationManager} + modules)
        , m_findings(findings)
    { }

    TerminalParameters run()
    {
        if (!m_file.exists() && !m_folder.entries().contains(QStringLiteral("platform.ini"))) {
            return {};
        }
        const QString fault = m_file.exists() ? PlatformIni::fault(m_file.openName()) : m_file.errorText();
        const QByteArray text = RegularFile(m_file.openName()).read(largestFile).value_or(QByteArray());
        if (!fault.isEmpty() || text.contains('\0')) {
            add(Rule::ParametersUnusable, 0,
                fault.isEmpty() ? QStringLiteral("is not a text") : QStringLiteral("treated as empty: ") + fault,
                QStringLiteral("use a regular file of at most 1 MiB, without @Variant and @DateTime"));
            return {};
        }
        const QList<Line> lines = linesOf(text.startsWith("\xef\xbb\xbf") ? text.mid(3) : text);
        for (const Line &line : lines) {
            checkLine(line);
        }
        TerminalParameters parameters;
        parameters.hasRebootFallback = checkValues().rebootFallback.has_value();
        const QString size = PlatformIni::section(platformSection, m_file.openName()).value(PlatformKey::memorySize);
        parameters.ddrSize = size.isEmpty() ? parameters.ddrSize : size;
        return parameters;
    }

private:
    void add(Rule rule, int line, const QString &message, const QString &advice)
    {
        m_findings.add(rule, {PlatformIni::path(), line, QString()}, message, advice);
    }

    void checkLine(const Line &line)
    {
        const int equals = line.text.indexOf('=');
        if (line.text.startsWith('[')) {
            const int end = line.text.indexOf(']');
            m_section = QString::fromUtf8(line.text.mid(1, (end < 0 ? line.text.size() : end) - 1)).trimmed();
            if (end < 0) {
                add(Rule::ParametersSection, line.number, QStringLiteral("a section without \"]\""),
                    QStringLiteral("write [%1]").arg(m_section));
            }
            checkName(line.number, QStringLiteral("section"), m_section, m_sections);
            return;
        }
        const QString key = QString::fromUtf8(line.text.left(qMax(equals, 0))).trimmed();
        const bool isComment = line.text.startsWith('#');
        if (key.isEmpty() || isComment) {
            add(isComment ? Rule::ParametersUnknown : Rule::ParametersLine, line.number,
                QStringLiteral("'%1' is neither a section nor a parameter").arg(QString::fromUtf8(line.text.left(40))),
                QStringLiteral("write KEY=VALUE, or begin a comment with a semicolon"));
            return;
        }
        if (line.text.contains('\n')) {
            add(Rule::ParametersLine, line.number,
                QStringLiteral("the value of '%1' continues on the next lines").arg(key),
                QStringLiteral("close the quotation marks, and write no backslash at the end of a line"));
        }
        m_lines.insert(m_section + QLatin1Char('/') + key, line.number);
        if (m_section.isEmpty()) {
            add(Rule::ParametersLine, line.number, QStringLiteral("'%1' is in no section").arg(key),
                QStringLiteral("move it below [platform], [log] or the name of a component"));
        } else if (m_section == platformSection) {
            checkName(line.number, QStringLiteral("key"), key, {PlatformKey::memorySize}, true);
        } else if (keysOf().contains(m_section)) {
            checkName(line.number, QStringLiteral("key"), key, keysOf().value(m_section));
        }
    }

    /// `isOpen`: there may be others, which belong to modules.
    void checkName(int line, const QString &what, const QString &name, const QStringList &known, bool isOpen = false)
    {
        if (known.contains(name)) {
            return;
        }
        QString meant = nearMisses(name, known).value(0);
        for (const QString &one : known) {
            const bool isPart = name.size() >= shortestPart && one.contains(name, Qt::CaseInsensitive);
            meant = meant.isEmpty() && isPart ? one : meant;
        }
        if (!meant.isEmpty()) {
            add(Rule::ParametersMisspelt, line, QStringLiteral("unknown %1 '%2'").arg(what, name),
                QStringLiteral("did you mean '%1'?").arg(meant));
        } else if (!isOpen) {
            add(Rule::ParametersUnknown, line, QStringLiteral("unknown %1 '%2'").arg(what, name),
                QStringLiteral("remove it, or correct its name"));
        }
    }

    Parameters checkValues()
    {
        const QMap<QString, QString> log = PlatformIni::section(logSection, m_file.openName());
        bool isNumber = true;
        const QString level = QStringLiteral("level");
        const int value = log.contains(level) ? log.value(level).trimmed().toInt(&isNumber) : 0;
        if (!isNumber || value < 0 || value > JovLogger::Debug) {
            refused(logSection, level, log.value(level));
        }
        const QString manager = Components::applicationManager;
        Parameters parameters =
            Parameters::read(PlatformIni::section(manager, m_file.openName()),
                             [&](const QString &key, const QString &text) { refused(manager, key, text); });
        checkLogFile(PlatformIni::section(logSection, m_file.openName()).value(QStringLiteral("file")));
        return parameters;
    }

    void refused(const QString &section, const QString &key, const QString &value)
    {
        add(Rule::ParametersValue, m_lines.value(section + QLatin1Char('/') + key),
            QStringLiteral("%1=%2 is not valid: the default applies").arg(key, value),
            QStringLiteral("the values of %1 are in platform.ini(5)").arg(key));
    }

    void checkLogFile(const QString &path)
    {
        // Folders of a system that the root may not have.
        static const QStringList usual{QStringLiteral("/var"), QStringLiteral("/log"), QStringLiteral("/data"),
                                       QStringLiteral("/run"), QStringLiteral("/tmp")};
        const RootFile file(path);
        if (path.isEmpty() || file.isRegular() || file.isCreatable() || (file.exists() && S_ISCHR(file.mode()))) {
            return;
        }
        const QString top = path.section(QLatin1Char('/'), 0, 1);
        const bool isElsewhere = usual.contains(top) && !RootFile(top).exists();
        add(isElsewhere ? Rule::PartialRoot : Rule::LogFile, m_lines.value(QStringLiteral("log/file")),
            file.exists() ? QStringLiteral("the log file %1 is not a regular file").arg(path)
                          : QStringLiteral("the directory of the log file %1 is not in this root").arg(path),
            QStringLiteral("create the directory, or name another file"));
    }

    const QStringList m_sections;
    Findings &m_findings;
    const RootFile m_file{iniPath};
    const RootFile m_folder{iniPath.section(QLatin1Char('/'), 0, -2)};
    QString m_section;
    QHash<QString, int> m_lines; ///< of SECTION/KEY
};

} // namespace

TerminalParameters checkParameters(const QStringList &modules, Findings &findings)
{
    return ParametersCheck(modules, findings).run();
}
