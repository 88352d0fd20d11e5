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
#include <QRegularExpression>

#include <algorithm>

namespace {

constexpr qint64 largestFile = 1 << 20;
constexpr int shortestPart = 3;

const QString iniPath = QStringLiteral("/etc/JovApplication/platform.ini");
const QString platformSection = QStringLiteral("platform");
const QString logSection = QStringLiteral("log");

/// The keys of each section; [platform] can have others.
const QHash<QString, QStringList> &keysOf()
{
    static const QHash<QString, QStringList> keys{{platformSection, {PlatformKey::memorySize}},
                                                  {logSection, {QStringLiteral("level"), QStringLiteral("file")}},
                                                  {Components::applicationManager, Parameters::keys()}};
    return keys;
}

struct Line
{
    int number;
    QByteArray text;
    bool isCut = false; ///< by a semicolon that is hardly meant as a comment
};

/// A semicolon inside a word, or in a command.
bool cutsValue(const QByteArray &before, char next)
{
    const int equals = before.indexOf('=');
    return equals >= 0
        && (before.mid(equals + 1).trimmed().startsWith('|')
            || (!before.endsWith(' ') && !before.endsWith('=') && QByteArray(1, next).trimmed().size() == 1));
}

/// Lines as QSettings divides the text: a quoted value can continue on the next one, and a semicolon begins a comment.
QList<Line> linesOf(const QByteArray &text)
{
    QList<Line> lines;
    int number = 1;
    Line line{number, {}};
    bool isQuoted = false;
    bool isComment = false;
    for (int i = 0; i <= text.size(); ++i) {
        char character = i < text.size() ? text.at(i) : '\n';
        if (character == '\r' && (i + 1 >= text.size() || text.at(i + 1) != '\n')) {
            character = '\n';
        }
        if (character == '\n' && (!isQuoted || i == text.size())) {
            line.text = line.text.trimmed();
            if (!line.text.isEmpty()) {
                lines.append(line);
            }
            line = {number + 1, {}};
            isComment = false;
        } else if (character == ';' && !isQuoted) {
            line.isCut =
                line.isCut || (!isComment && cutsValue(line.text, i + 1 < text.size() ? text.at(i + 1) : '\n'));
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
        const QString name = iniPath.section(QLatin1Char('/'), -1);
        const QStringList entries = m_folder.entries();
        if (!m_file.exists() && !entries.contains(name)) {
            const QString other = nearMisses(name, entries).value(0);
            if (!other.isEmpty()) {
                add(Rule::ParametersUnusable, 0, QStringLiteral("the file is missing, but there is '%1'").arg(other),
                    QStringLiteral("rename it"));
            }
            for (const char *folder : {"/etc/", "/etc/JovApplication/module/", "/"}) {
                if (RootFile(QLatin1String(folder) + name).isRegular()) {
                    add(Rule::ParametersUnusable, 0,
                        QStringLiteral("the file is missing, but there is '%1%2'").arg(QLatin1String(folder), name),
                        QStringLiteral("move it"));
                }
            }
            return {};
        }
        const QString fault = m_file.exists() ? PlatformIni::fault(m_file.openName()) : m_file.errorText();
        QByteArray text = RegularFile(m_file.openName()).read(largestFile).value_or(QByteArray());
        const int end = text.trimmed().isEmpty() ? -1 : int(qstrlen(text.constData()));
        if (end > 0 && text.count('\0') == text.size() - end) {
            text.truncate(end); // a block that the kernel has filled up
        }
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
        const bool hasText =
            std::any_of(lines.begin(), lines.end(), [](const Line &line) { return !line.text.startsWith('#'); });
        if (hasText && m_lines.isEmpty() && m_section.isEmpty()) {
            add(Rule::ParametersUnusable, 0, QStringLiteral("has neither a section nor a parameter"),
                QStringLiteral("write [SECTION], then KEY=VALUE in each line"));
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
            m_section = QString::fromUtf8(line.text.mid(1, (end < 0 ? line.text.size() : end) - 1).trimmed());
            if (end < 0) {
                add(Rule::ParametersSection, line.number, QStringLiteral("a section without \"]\""),
                    QStringLiteral("write [%1]").arg(m_section));
            }
            checkName(line.number, QStringLiteral("section"), m_section, m_sections);
            return;
        }
        const QString key = QString::fromUtf8(line.text.left(qMax(equals, 0)).trimmed());
        if (key.isEmpty() || line.text.startsWith('#')) {
            add(losesSomething(line.text) ? Rule::ParametersLine : Rule::ParametersUnknown, line.number,
                QStringLiteral("'%1' is neither a section nor a parameter").arg(QString::fromUtf8(line.text.left(40))),
                QStringLiteral("write KEY=VALUE, or begin a comment with a semicolon"));
            return;
        }
        if (line.isCut) {
            add(Rule::ParametersLine, line.number, QStringLiteral("the value of '%1' ends at the semicolon").arg(key),
                QStringLiteral("write the value in quotation marks, or a blank before a comment"));
        }
        // A name behind the first line would be lost.
        const QByteArray rest = line.text.contains('\n') ? line.text.mid(line.text.indexOf('\n')) : QByteArray();
        if (rest.contains('=') || rest.contains('[')) {
            add(Rule::ParametersLine, line.number,
                QStringLiteral("the value of '%1' continues on the next lines").arg(key),
                QStringLiteral("close the quotation marks, and write no backslash at the end of a line"));
        }
        const QString path = m_section + QLatin1Char('/') + key;
        const QByteArray value = line.text.mid(equals + 1).trimmed();
        if (m_lines.contains(path) && m_values.value(path) != value) {
            add(Rule::ParametersRepeated, line.number,
                QStringLiteral("a second '%1', which replaces that of line %2").arg(key).arg(m_lines.value(path)),
                QStringLiteral("keep only one"));
        }
        static const QRegularExpression noText(QStringLiteral("^\"?@(Invalid|Point|Rect|Size)\\("));
        if (noText.match(QString::fromUtf8(value)).hasMatch()) {
            add(Rule::ParametersLine, line.number, QStringLiteral("the value of '%1' is not a text").arg(key),
                QStringLiteral("write \"@@\" for a value that begins with \"@\""));
        }
        m_lines.insert(path, line.number);
        m_values.insert(path, value);
        if (m_section.isEmpty()) {
            add(ownerOf(key).isEmpty() ? Rule::ParametersUnknown : Rule::ParametersLine, line.number,
                QStringLiteral("'%1' is in no section").arg(key),
                QStringLiteral("move it below [platform], [log] or the name of a component"));
        } else if (keysOf().contains(m_section)) {
            checkKey(line.number, key);
        } else if (key == PlatformKey::memorySize) {
            addForeign(line.number, key);
        }
    }

    /// The section that has the key; empty for none. Also of "log/level" and "export level".
    [[nodiscard]] static QString ownerOf(const QString &key)
    {
        static const QRegularExpression last(QStringLiteral("[^/\\\\\\s]*$"));
        for (auto section = keysOf().cbegin(); section != keysOf().cend(); ++section) {
            if (section->contains(last.match(key).captured())) {
                return section.key();
            }
        }
        return {};
    }

    /// Whether a line that is neither a section nor a parameter looks like one.
    [[nodiscard]] bool losesSomething(const QByteArray &line) const
    {
        static const QRegularExpression first(QStringLiteral("^[^\\w/#]*(\\w+)"));
        const QString word = first.match(QString::fromUtf8(line)).captured(1);
        QStringList known = m_sections;
        for (const QStringList &keys : keysOf()) {
            known += keys;
        }
        return known.contains(word) || !nearMisses(word, known).isEmpty();
    }

    void addForeign(int line, const QString &key)
    {
        add(Rule::ParametersMisspelt, line, QStringLiteral("'%1' is ignored in this section").arg(key),
            QStringLiteral("write it in the section [%1]").arg(ownerOf(key)));
    }

    void checkKey(int line, const QString &key)
    {
        const QStringList known = keysOf().value(m_section);
        if (!known.contains(key) && !ownerOf(key).isEmpty()) {
            addForeign(line, key);
        } else {
            checkName(line, QStringLiteral("key"), key, known, m_section == platformSection);
        }
    }

    /// `isOpen`: there may be others, which belong to modules.
    void checkName(int line, const QString &what, const QString &name, const QStringList &known, bool isOpen = false)
    {
        if (known.contains(name)) {
            return;
        }
        static const QRegularExpression marks(QStringLiteral("[^\\w]"));
        const QString plain = QString(name).remove(marks);
        QString meant = known.contains(plain) ? plain : nearMisses(plain, known).value(0);
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
        checkFile(Rule::LogFile, logSection, QStringLiteral("file"), log.value(QStringLiteral("file")), Parent::Exists);
        const QString history = QStringLiteral("history_file");
        checkFile(Rule::HistoryFile, manager, history,
                  PlatformIni::section(manager, m_file.openName()).value(history).trimmed(), Parent::IsCreated);
        const OutputSetting &output = parameters.moduleOutput;
        if (output.kind == OutputSetting::Kind::File && RootFile(output.pattern).isDirectory()) {
            refused(manager, QStringLiteral("module_output"), QStringLiteral("file:") + output.pattern);
        }
        return parameters;
    }

    void refused(const QString &section, const QString &key, const QString &value)
    {
        add(Rule::ParametersValue, m_lines.value(section + QLatin1Char('/') + key),
            QStringLiteral("%1=%2 is not valid: the default applies").arg(key, value),
            QStringLiteral("the values of %1 are in platform.ini(5)").arg(key));
    }

    enum class Parent { Exists, IsCreated }; ///< the directory of a file; it is created in an existing one

    void checkFile(Rule rule, const QString &section, const QString &key, const QString &path, Parent parent)
    {
        // Folders of a system that the root may not have.
        static const QStringList usual{QStringLiteral("/var"), QStringLiteral("/log"), QStringLiteral("/data"),
                                       QStringLiteral("/run"), QStringLiteral("/tmp")};
        const RootFile file(path);
        const QString folder = path.section(QLatin1Char('/'), 0, -2);
        static const QRegularExpression ofKernel(QStringLiteral("^/(proc/(?!self/)|sys/)"));
        if (path.isEmpty()
            || (!ofKernel.match(path).hasMatch()
                && (file.isRegular() || file.isCreatable()
                    || (rule == Rule::LogFile && file.exists() && S_ISCHR(file.mode()))
                    || (parent == Parent::IsCreated && !file.exists() && RootFile(folder).isCreatable())))) {
            return;
        }
        const QString top = path.section(QLatin1Char('/'), 0, 1);
        const bool isElsewhere = usual.contains(top) && !RootFile(top).exists() && !RootFile(top).isLink();
        add(isElsewhere ? Rule::PartialRoot : rule, m_lines.value(section + QLatin1Char('/') + key),
            file.exists() ? QStringLiteral("%1=%2 is not a regular file").arg(key, path)
                          : QStringLiteral("%1=%2: its directory is not in this root").arg(key, path),
            QStringLiteral("create the directory, or name another file"));
    }

    const QStringList m_sections;
    Findings &m_findings;
    const RootFile m_file{iniPath};
    const RootFile m_folder{iniPath.section(QLatin1Char('/'), 0, -2)};
    QString m_section;
    QHash<QString, int> m_lines; ///< of SECTION/KEY
    QHash<QString, QByteArray> m_values;
};

} // namespace

TerminalParameters checkParameters(const QStringList &modules, Findings &findings)
{
    return ParametersCheck(modules, findings).run();
}
