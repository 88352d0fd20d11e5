#ifndef CONSOLE_H
#define CONSOLE_H

#include <QString>

class QJsonDocument;

/// Output to the standard streams, always in UTF-8. It has colours on a terminal or if CLICOLOR_FORCE is set, but not
/// if NO_COLOR is set.
namespace Console {

enum class Colour { None, Good, Bad, Busy, Dim, Bold };

void write(const QString &text);
void writeLine(const QString &text);
void writeJson(const QJsonDocument &document);
/// On standard error, after the program's name.
void complain(const QString &text);
/// Writes what is buffered. False if this or any earlier output failed.
bool flush();

[[nodiscard]] bool isTerminal();
[[nodiscard]] bool hasColour();
/// The size of the terminal; 80 by 24 if it is unknown.
[[nodiscard]] int columns();
[[nodiscard]] int rows();
/// Whether the locale's character set is UTF-8.
[[nodiscard]] bool isUtf8();
/// Standard output is a terminal whose locale has another character set than UTF-8.
[[nodiscard]] bool isPlain();

[[nodiscard]] QString coloured(const QString &text, Colour colour);
[[nodiscard]] Colour colourOfState(const QString &state);
/// In its colour; "-" without a state.
[[nodiscard]] QString colouredState(const QString &state);

/// For names from files and other processes: characters that could move the cursor or end the line become `\xNN`.
[[nodiscard]] QString printable(const QString &text);

} // namespace Console

#endif
