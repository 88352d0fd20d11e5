#ifndef OUTPUT_SETTING_H
#define OUTPUT_SETTING_H

#include <QStringList>

#include <optional>

/// The keys `module_output` of platform.ini (`none`, `journal`, `file:PATTERN` or `|COMMAND`) and `module_output_path`.
struct OutputSetting
{
    enum class Kind { None, Journal, File, Program };

    Kind kind = Kind::None;
    QString pattern; ///< of the file, below the root prefix; `%n` is the name of the module
    QString command; ///< of the log program, for the shell; `%n` as above

    /// `path` is where the log program writes. Nothing of a text that is none of these.
    [[nodiscard]] static std::optional<OutputSetting> parse(const QString &text, const QString &path);
    /// Of the file of a module, with the root prefix.
    [[nodiscard]] QString pathOf(const QString &module) const;
    /// Of the log program of a module.
    [[nodiscard]] QString commandOf(const QString &module) const;
    /// The last lines of the module's file. None without a file.
    [[nodiscard]] QStringList lastLines(const QString &module, int count) const;
};

#endif
