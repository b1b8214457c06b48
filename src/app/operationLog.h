#ifndef OPERATIONLOG_H
#define OPERATIONLOG_H

#include <QString>

// One row of the log table per significant operation. The time is always the
// server's NOW(), never the workstation clock.
namespace operationLog {

QString insertSql(const QString &user, const QString &description);

// Runs the insert on the default connection. A failure is not reported: a
// missing log row does not undo the operation it records.
void write(const QString &user, const QString &description);

} // namespace operationLog

#endif
