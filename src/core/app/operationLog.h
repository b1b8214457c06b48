#ifndef OPERATIONLOG_H
#define OPERATIONLOG_H

#include <QString>

// One row of the log table per significant operation. The time is always the
// server's NOW(), never the workstation clock. myDatabase::writeLog runs it;
// multi-statement saves put it among their statements.
namespace operationLog {

QString insertSql(const QString &user, const QString &description);

} // namespace operationLog

#endif
