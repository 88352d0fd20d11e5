#include "client/Console.h"

#include "contract/ModuleState.h"

#include <QJsonDocument>

#include <clocale>
#include <cstdio>

#include <langinfo.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

winsize windowSize()
{
    winsize size{};
    ioctl(STDOUT_FILENO, TIOCGWINSZ, &size);
    return size;
}

const char *code(Console::Colour colour)
{
    switch (colour) {
    case Console::Colour::Good:
        return "32";
    case Console::Colour::Bad:
        return "31";
    case Console::Colour::Busy:
        return "33";
    case Console::Colour::Dim:
        return "2";
    case Console::Colour::Bold:
        return "1";
    case Console::Colour::None:
        break;
    }
    return nullptr;
}

} // namespace

void Console::write(const QString &text)
{
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stdout);
}

void Console::writeLine(const QString &text)
{
    write(text + QLatin1Char('\n'));
}

void Console::writeJson(const QJsonDocument &document)
{
    write(QString::fromUtf8(document.toJson()));
}

void Console::complain(const QString &text)
{
    std::fflush(stdout);
    std::fprintf(stderr, "jovctl: %s\n", text.toUtf8().constData());
}

bool Console::flush()
{
    return std::fflush(stdout) == 0 && std::ferror(stdout) == 0;
}

bool Console::isTerminal()
{
    static const bool terminal = isatty(STDOUT_FILENO) == 1;
    return terminal;
}

bool Console::hasColour()
{
    const auto isSet = [](const char *name) { return !qEnvironmentVariableIsEmpty(name); };
    static const bool colour =
        !isSet("NO_COLOR") && (isSet("CLICOLOR_FORCE") || (isTerminal() && qgetenv("TERM") != "dumb"));
    return colour;
}

int Console::columns()
{
    const int columns = windowSize().ws_col;
    return columns > 0 ? columns : 80;
}

int Console::rows()
{
    const int rows = windowSize().ws_row;
    return rows > 0 ? rows : 24;
}

bool Console::isUtf8()
{
    return qstrcmp(nl_langinfo(CODESET), "UTF-8") == 0;
}

bool Console::isPlain()
{
    return isTerminal() && !isUtf8();
}

QString Console::coloured(const QString &text, Colour colour)
{
    const char *sequence = code(colour);
    if (!sequence || text.isEmpty() || !hasColour()) {
        return text;
    }
    return QStringLiteral("\x1b[%1m%2\x1b[0m").arg(QLatin1String(sequence), text);
}

Console::Colour Console::colourOfState(const QString &state)
{
    if (stateOf(state) == ModuleState::Running) {
        return Colour::Good;
    }
    return stateOf(state) == ModuleState::Stopped || state.isEmpty() ? Colour::Dim : Colour::Busy;
}

QString Console::colouredState(const QString &state)
{
    return coloured(state.isEmpty() ? QStringLiteral("-") : state, colourOfState(state));
}

QString Console::printable(const QString &text)
{
    QString shown;
    shown.reserve(text.size());
    for (const QChar character : text) {
        if (character.category() == QChar::Other_Control || character.unicode() == 0x2028
            || character.unicode() == 0x2029 || (character.unicode() >= 0x202a && character.unicode() <= 0x202e)
            || (character.unicode() >= 0x2066 && character.unicode() <= 0x2069)) {
            shown += QStringLiteral("\\x%1").arg(int(character.unicode()), 2, 16, QLatin1Char('0'));
        } else if (character.unicode() > 0x7e && isPlain()) {
            shown += QStringLiteral("\\u%1").arg(int(character.unicode()), 4, 16, QLatin1Char('0'));
        } else {
            shown += character;
        }
    }
    return shown;
}
