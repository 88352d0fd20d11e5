#ifndef OUTPUT_SETTING_H
#define OUTPUT_SETTING_H

#include <QStringList>

#include <optional>

/// The key `module_output` of platform.ini: `none`, `journal`, or `file:PATTERN`.
struct OutputSetting
{
    enum class Kind { None, Journal, File };

    Kind kind = Kind::None;
    QString pattern; ///< of the file, below the root prefix; `%n` is the name of the module

    /// Nothing of a text that is none of these.
    [[nodiscard]] static std::optional<OutputSetting> parse(const QString &text);
    /// Of the file of a module, with the root prefix.
    [[nodiscard]] QString pathOf(const QString &module) const;
    /// The last lines of the module's file. None of another kind of output, or without a file.
    [[nodiscard]] QStringList lastLines(const QString &module, int count) const;
};

#endif
