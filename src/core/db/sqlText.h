#ifndef SQLTEXT_H
#define SQLTEXT_H

#include <QString>

// Typed text on its way into a statement. The statements are composed as
// text, and what an operator types must arrive as typed: an apostrophe, a
// backslash or (in a search) a % or _ is written so that the server reads
// it as that character. Text without those characters passes unchanged, so
// every statement for ordinary input stays exactly as it always was.
//
// The escapes rely on the server reading backslashes in literals, which
// myDatabase makes sure of for every session (no NO_BACKSLASH_ESCAPES).
namespace sqlText {

// The inside of a single-quoted literal: ' doubled, \ doubled.
QString escaped(const QString &text);
// 'text', escaped.
QString quoted(const QString &text);
// The inside of a quoted LIKE pattern that matches the text literally:
// additionally % and _ lose their wildcard meaning.
QString likeEscaped(const QString &text);

// The connection's character set (utf8, three bytes at most) cannot carry
// characters outside the Basic Multilingual Plane: rare CJK characters of
// the extension planes and emoji. The server refuses them with an English
// text, so forms check first and name the field.
bool fitsConnection(const QString &text);

} // namespace sqlText

#endif
