#ifndef SERVERMESSAGE_H
#define SERVERMESSAGE_H

#include <QString>

// Pieces of the server's own error texts (QSqlError::databaseText(), or a
// line the mysql tools print), for the messages that tell an operator in
// Chinese what went wrong. They read the server's words only: the driver's
// tail ("QMYSQL: Unable to execute query") is in whatever language Qt's
// translation gives it and is never parsed.
namespace serverMessage {

// Where a syntax error stopped the server, the text inside "near '…'" of
// "You have an error in your SQL syntax; check the manual that corresponds
// to your MySQL (or MariaDB) server version for the right syntax to use near
// '…' at line n". A null string when the text is another error.
QString syntaxNear(const QString &serverText);

// The sentence an operator reads for a syntax error: 句法错误，请检查“…”。
QString syntaxSentence(const QString &near);

// The text of a capture in a server text that follows a known pattern, for
// example the column of "Data truncated for column '(.*)' at row \d+".
// Captures are greedy, so a name that holds an apostrophe comes out whole.
// A null string when the text does not match.
QString captured(const QString &serverText, const QString &pattern, int group = 1);

} // namespace serverMessage

#endif
