#ifndef ARGUMENTS_H
#define ARGUMENTS_H

#include <QHash>
#include <QString>
#include <QStringList>

struct Command;

/// The options and operands of a subcommand, checked.
class Arguments
{
public:
    /// Throws a Failure with ExitStatus::Usage.
    [[nodiscard]] static Arguments parse(const Command &command, const QStringList &words);

    [[nodiscard]] bool wantsHelp() const { return m_wantsHelp; }
    /// In seconds; 0 for none.
    [[nodiscard]] double timeout() const { return m_timeout; }
    [[nodiscard]] bool isSet(const QString &option) const { return m_values.contains(option); }
    [[nodiscard]] QString value(const QString &option) const { return m_values.value(option); }
    [[nodiscard]] bool wantsJson() const { return isSet(QStringLiteral("json")); }
    [[nodiscard]] QStringList operands() const { return m_operands; }

private:
    QHash<QString, QString> m_values;
    QStringList m_operands;
    double m_timeout = 0;
    bool m_wantsHelp = false;
};

#endif
