#ifndef MATCH_TEXT_H
#define MATCH_TEXT_H

class QString;

/**
 * Whether QtDBus can put `text` into a match rule as it is.
 *
 * QtDBus 5.15.8 writes the text of an argument match into the rule in Latin-1 instead of UTF-8, for which libdbus ends
 * the process, and does not escape apostrophes: the text is never matched. dbus-daemon refuses a rule of more than
 * 1,024 bytes, and QtDBus does not report it.
 */
[[nodiscard]] bool fitsMatchRule(const QString &text);

#endif
