#ifndef DATABACKUP_H
#define DATABACKUP_H

#include <QByteArray>
#include <QString>

// The small rules of backup files that the dialogs and the backup engine
// share. A backup is the mysqldump output either as it stands (.sql) or
// compressed (.sda: 4-byte big-endian length, then a zlib stream).
namespace dataBackup {

// The file dialogs' filter: compressed first, so it is the one offered.
QString fileFilter();

// A name whose file part has nothing after its first dot gets ".sda".
QString withExtension(const QString &chosen);

// The dump's trigger definitions name the account that made them; creating
// a trigger for another account needs a privilege operators do not have.
// Dropping that clause lets the restoring operator own them.
QByteArray withoutDefiners(QByteArray sql);

} // namespace dataBackup

#endif
