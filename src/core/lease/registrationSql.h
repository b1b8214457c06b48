#ifndef REGISTRATIONSQL_H
#define REGISTRATIONSQL_H

#include <QDate>
#include <QSqlError>
#include <QString>
#include <QStringList>

// The statements of a registration save and the texts the operator sees when
// a save is refused, kept apart from the form so they can be read (and
// tested) without widgets. Typed values are escaped (sqlText), so they are
// stored exactly as typed; ordinary text gives the statements as always.
namespace registrationSql {

// The three parts of a 15-digit number as the lease row stores them.
struct numberParts {
    QString region; // characters 1-6
    QString year;   // characters 7-10
    QString serial; // characters 11-15
};
numberParts split(const QString &number);

// A date as the server reads it in a quoted literal.
QString dateLiteral(const QDate &date);
// 'text', or NULL for an empty text so NOT NULL columns refuse it.
QString textValue(const QString &text);

struct leaseValues {
    QDate registered, validFrom, validUntil;
    int fee = 0;
};
QString insertLease(const numberParts &n, const leaseValues &v);
// " WHERE 登记编号='<number>'": one registration's row of a party table.
QString partyCondition(const QString &number);
QString updateLease(const numberParts &n, const leaseValues &v);
// "column=value" pairs of one party table, in form order.
QString insertParty(const QString &table, const QString &number, const QStringList &pairs);
QString updateParty(const QString &table, const QString &number, const QStringList &pairs);
QStringList deleteRegistration(const numberParts &n, const QString &number);
// Counts the registrations stored with exactly these lease values and lessor
// "column=value" pairs (as insertParty takes them): 1 when a save whose commit
// lost its connection was kept after all, 0 when it was not (another
// workstation's lease under the same number has other values).
QString countStoredAsTyped(const numberParts &n, const leaseValues &v, const QString &number,
                           const QStringList &lessorPairs);

// Checks run before anything is written; an empty text means the save may go on.
struct refusal {
    QString text;
    bool focusNumber = false;
};
refusal checkBeforeSave(bool adding, const QDate &validFrom, const QDate &validUntil,
                        const QString &number, const QString &region, const QDate &workDate);

// What the operator reads when the server refused a statement: the three
// refusals an operator can correct on the form are put into words, and so
// are the failures the server or the network caused (another workstation's
// save, a restart): those say that nothing was saved and what to do.
// Anything else is shown as the server wrote it.
refusal saveErrorMessage(const QSqlError &error);
// What the clerk reads when a commit lost its connection and the server
// cannot yet be asked whether it was kept.
QString commitUncertainText();

// A duplicate number (another workstation saved it since 增加 proposed it).
bool isDuplicateNumber(const QSqlError &error);

// Why a statement could not be run, in words for a clerk: a server that
// cannot be reached is named as such; anything else is the server's text.
QString problemText(const QSqlError &error);

} // namespace registrationSql

#endif
