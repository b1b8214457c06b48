#ifndef DATABACKUP_H
#define DATABACKUP_H

#include "myDatabase.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

// Backup and restore of the business database with the mysql command-line
// tools, run with the logged-in operator's credentials. A backup is the
// mysqldump output either as it stands (.sql) or compressed with qCompress
// (.sda: 4-byte big-endian length, then a zlib stream). Kept apart from the
// main window so the tests can run it without dialogs.
namespace dataBackup {

// Both backup and restore pass through this one file, in a folder of this
// run's own inside the temporary folder.
QString workingFile();

// The file dialogs' filter: compressed first, so it is the one offered.
QString fileFilter();

// A name whose file part has nothing after its first dot gets ".sda".
QString withExtension(const QString &chosen);

// mysqldump's arguments for the connection; no -p at all for an empty password.
QStringList dumpArguments(const myDatabase::account &db);

// The dump's trigger definitions name the account that made them; creating
// a trigger for another account needs a privilege operators do not have.
// Dropping that clause lets the restoring operator own them.
QByteArray withoutDefiners(QByteArray sql);

// Each returns true when the tool ran to its end without error; otherwise
// *problem says why in words for the operator. The wait ends as soon as the
// tool exits and has no ceiling: a decade of registrations takes longer than
// any fixed wait to load, and a restore killed half-way would leave the
// tables half-loaded.
bool backup(const myDatabase::account &db, const QString &fileName, QString *problem);
bool restore(const myDatabase::account &db, const QString &fileName, QString *problem);

} // namespace dataBackup

#endif
