#ifndef FIRSTRUN_H
#define FIRSTRUN_H

#include "myDatabase.h"

#include <QString>
#include <functional>

// The business database is created by the program itself on the first login
// to a server that lacks it, from the template script beside the program.
namespace firstRun {

enum class outcome { Existing, Created, Failed };

// Run while the connection is still opened on "mysql": creates the database
// from the template when it does not exist yet, then closes the connection.
// Progress texts for the message label go to showMessage (an empty text
// clears it); refusals are reported under "错误".
outcome ensureDatabase(myDatabase &db, const QString &databaseName, const QString &scriptPath,
                       const QString &operatorName, const std::function<void(const QString &)> &showMessage);

} // namespace firstRun

#endif
