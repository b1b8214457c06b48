#include "schemaUpgrade.h"

namespace schemaUpgrade {

bool ensureLogKey(const myDatabase &db, QSqlError *error)
{
    QSqlQuery keys = db.select(QStringLiteral("SHOW KEYS FROM log WHERE Key_name='PRIMARY'"), error);
    if (!keys.isActive())
        return false;
    if (keys.next())
        return true;
    return db.exec(QStringLiteral("ALTER TABLE log ADD 序号 bigint unsigned NOT NULL AUTO_INCREMENT INVISIBLE, "
                                  "ADD PRIMARY KEY (序号)"),
                   error);
}

} // namespace schemaUpgrade
