#ifndef CONSOLE_H
#define CONSOLE_H

#include <QString>

/// What goes to the two standard streams: always UTF-8, colour on a terminal or where CLICOLOR_FORCE is set, and never
/// where NO_COLOR is.
namespace Console {

enum class Colour { None, Good, Bad, Busy, Dim, Bold };

void write(const QString &text);
void writeLine(const QString &text);
/// On standard error, with the program's name in front.
void complain(const QString &text);
/// Hands over what is buffered. False when it, or anything before, could not be written.
bool flush();

[[nodiscard]] bool isTerminal();
[[nodiscard]] bool hasColour();
/// Of the terminal; 80 by 24 where it does not say.
[[nodiscard]] int columns();
[[nodiscard]] int rows();
/// The locale can show more than ASCII.
[[nodiscard]] bool isUtf8();

[[nodiscard]] QString coloured(const QString &text, Colour colour);
[[nodiscard]] Colour colourOfState(const QString &state);

/// Names come from files and from other processes: what could move the cursor or break a line is shown as `\xNN`.
[[nodiscard]] QString printable(const QString &text);

} // namespace Console

#endif
