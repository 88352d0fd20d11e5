#include "contract/ExitText.h"

#include <csignal>
#include <cstring>

QString signalName(int signal)
{
    const char *name = sigabbrev_np(signal);
    return name ? QStringLiteral("SIG") + QLatin1String(name) : QStringLiteral("signal %1").arg(signal);
}

QString exitText(int code, bool isSignal)
{
    return isSignal ? QStringLiteral("killed by %1").arg(signalName(code)) : QStringLiteral("exit status %1").arg(code);
}
