#ifndef PARAMETERS_H
#define PARAMETERS_H

#include "supervision/OutputSetting.h"

#include <QMap>
#include <QString>

#include <functional>
#include <optional>

#include <sys/types.h>

/// What the section [ApplicationManager] of platform.ini asks of the supervisor. A key that is absent, or whose value
/// is invalid, leaves the default.
struct Parameters
{
    std::optional<mode_t> moduleUmask; ///< `module_umask`, octal: the umask of the modules
    std::optional<int> rebootFallback; ///< `reboot_fallback`: seconds for "Platform" to take a request for a reboot

    QString historyFile; ///< `history_file`, with the root prefix; empty: no history
    int historySize = 256; ///< `history_size`, in kB

    OutputSetting moduleOutput; ///< `module_output`, `module_output_path`
    int launchesAhead = 32; ///< `launches_ahead`: how many modules that were launched ahead may be starting at once

    using Refusal = std::function<void(const QString &key, const QString &value)>;

    /// `refused` gets each invalid value; by default it logs a warning.
    [[nodiscard]] static Parameters read(const QMap<QString, QString> &section, const Refusal &refused = &warn);
    /// All keys of the section.
    [[nodiscard]] static QStringList keys();

private:
    static void warn(const QString &key, const QString &value);
};

#endif
