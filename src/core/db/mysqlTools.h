#ifndef MYSQLTOOLS_H
#define MYSQLTOOLS_H

#include "myDatabase.h"

#include <QString>
#include <QStringList>

class QProcess;

// The mysql command-line tools (the client and mysqldump), run as child
// processes with the logged-in operator's credentials.
namespace mysqlTools {

// Starts one of the tools on a QProcess the caller has prepared (input,
// output, working folder) and waits for its end, at most timeoutMs (-1: as
// long as it takes; a tool still running then is killed). True when it ran
// to its end without error; otherwise *problem says why in words for the
// operator, naming the tool as toolName.
bool runTool(QProcess &tool, const QString &program, const QStringList &args, const QString &toolName,
             int timeoutMs, QString *problem);

// What a tool wrote to its error output, made fit for a message box: read
// as the UTF-8 the tools write (the locale of this process may be C, which
// would turn every Chinese character into question marks), its first
// meaningful lines each cut to a width a box shows whole, and the number of
// lines left out. The client's "ERROR n (state) at line m: …" lines say the
// line first and, for a syntax error, the place the server stopped reading.
QString toolMessage(const QByteArray &stderrOutput);

// Feeds a SQL script to the mysql client with the account's credentials.
// True when the client ran to the end without error; otherwise *problem
// says why (missing file, client not found, time-out, its message).
bool runScript(const myDatabase::account &account, const QString &scriptPath, QString *problem = nullptr,
               int timeoutMs = 30000);

} // namespace mysqlTools

#endif
