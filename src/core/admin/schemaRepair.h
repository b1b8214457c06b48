#ifndef SCHEMAREPAIR_H
#define SCHEMAREPAIR_H

#include "myDatabase.h"

#include <QList>
#include <QString>
#include <QStringList>

// What the program relies on in the business database beyond its columns,
// taken from the database template (datamodel.sql), the one place that
// defines them:
//   - the unique key on lease's region, year and serial: a second save of one
//     number must fail rather than give two leases one number;
//   - the delete triggers: a cleared registration takes its party rows along;
//   - the log's invisible auto-increment key column.
// A backup from an earlier installation may lack any of them (its template
// had none), and restoring it drops what the tables had; a database an
// earlier installation made lacks them too. ensure() adds what is missing
// after every restore and at a supervisor's login, without touching a row.
namespace schemaRepair {

struct trigger {
    QString name;
    QString timing; // BEFORE, AFTER
    QString event;  // INSERT, UPDATE, DELETE
    QString table;
    QString body;
    QString statement; // the whole CREATE TRIGGER as the template has it
};

struct templateParts {
    QString keyName;    // the unique key on lease
    QString keyColumns; // its columns, as "地区,年度,编号"
    QString logKeyColumn;     // the column's name
    QString logKeyDefinition; // "序号 bigint unsigned NOT NULL AUTO_INCREMENT INVISIBLE PRIMARY KEY"
    QList<trigger> triggers;
};

// Reads the parts above from the template text; false with *problem when
// one of them is not found.
bool parseTemplate(const QByteArray &sql, templateParts *parts, QString *problem);

// Adds to the database on db whatever of the template's parts it lacks.
// Returns an empty text when everything is in place afterwards; otherwise,
// in words for the operator, what could not be added and why (duplicate
// registration numbers that block the unique key are listed). *added, when
// given, receives what was added.
QString ensure(const myDatabase &db, const QString &templatePath, QStringList *added = nullptr);

} // namespace schemaRepair

#endif
