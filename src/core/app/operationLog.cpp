#include "operationLog.h"

namespace operationLog {

QString insertSql(const QString &user, const QString &description)
{
    return QStringLiteral("INSERT INTO log SET 日期=NOW(),用户='") + user
        + QStringLiteral("',描述='") + description + QLatin1Char('\'');
}

} // namespace operationLog
