#ifndef SCHEMAUPGRADE_H
#define SCHEMAUPGRADE_H

#include "myDatabase.h"

// What the program relies on in a database that an earlier installation
// made, added once where it is missing, without changing a row.
namespace schemaUpgrade {

// The log table's key: an invisible auto-increment column 序号. Without a
// key, clearing the log on a replicated server locks every row the replica
// scans, and other workstations' saves wait (19 s for 20 000 rows against
// half a second with it). Invisible, so "SELECT * FROM log" and the log
// viewer see the three columns they always did. True when the key is there
// (now or already); needs the rights of a supervisor.
bool ensureLogKey(const myDatabase &db, QSqlError *error = nullptr);

} // namespace schemaUpgrade

#endif
