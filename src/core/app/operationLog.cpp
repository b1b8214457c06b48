#include "operationLog.h"
#include "sqlText.h"

namespace operationLog {

QString insertSql(const QString &user, const QString &description)
{
    // Both are typed text at heart: an operator's name, a registration
    // number, a date the operator chose.
    return QStringLiteral("INSERT INTO log SET 日期=NOW(),用户='") + sqlText::escaped(user)
        + QStringLiteral("',描述='") + sqlText::escaped(description) + QLatin1Char('\'');
}

} // namespace operationLog
