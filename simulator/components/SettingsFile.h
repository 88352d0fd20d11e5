#ifndef SETTINGS_FILE_H
#define SETTINGS_FILE_H

#include <QString>

/**
 * An INI file that people edit while the terminal runs. It is read for each value, and changed one line at a time: the
 * comments and the order of the lines stay.
 */
class SettingsFile
{
public:
    explicit SettingsFile(const QString &path)
        : m_path(path)
    { }

    /// Of the simulated terminal whose root JOV_ROOT names.
    [[nodiscard]] static QString standardPath();

    /// A null text when the section has no such key.
    [[nodiscard]] QString value(const QString &section, const QString &key) const;
    /// Replaces the file in one move, so that no reader sees half of it. False when it cannot be written.
    [[nodiscard]] bool setValue(const QString &section, const QString &key, const QString &value) const;

private:
    QString m_path;
};

#endif
