#ifndef TOOLACCOUNT_H
#define TOOLACCOUNT_H

#include "myDatabase.h"

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

// The account the mysql and mysqldump tools log in with: the operator's own,
// as the connection has it.
using toolAccount = myDatabase::account;

// A private folder for one run of the tools, in the temporary folder, only
// its owner's (0700): it holds the option file that hands the tools the
// password (0600), so the password is never on a command line, where every
// user of the machine can read it (/proc/<pid>/cmdline, ps). Removed with
// everything in it when the object goes; removeLeftovers() removes those of
// runs that ended without that (a crash, a power cut).
//
// The option file is read after the system's files and $MYSQL_HOME/my.cnf
// (see mysql --print-defaults), so the server those name is the one the
// tools reach, as before. It holds the password alone: user and host stay on
// the command line, which every option file yields to. One limit remains: a
// password line in the user's own ~/.my.cnf is read after it and wins; the
// tool then reports that access was denied.
class toolFolder
{
public:
    explicit toolFolder(const toolAccount &account);
    ~toolFolder();

    bool isValid() const { return m_error.isEmpty(); }
    QString errorString() const { return m_error; }

    // The arguments every tool run starts with: the option file (the tools
    // take it only as the very first argument), then user and host.
    QStringList arguments() const;
    QString optionFile() const;

    // Notes the file a backup is being written to, so that a later start can
    // remove the half-written temporary beside it if this run never ends.
    void noteWriting(const QString &target);
    void doneWriting();

    // Removes the folders of runs that are no longer running, and the
    // temporary backup files they noted. Call once at start-up.
    static void removeLeftovers();

private:
    QTemporaryDir m_dir;
    toolAccount m_account;
    QString m_error;
};

// Where a tool is run from: beside the program first (where an office's
// installation keeps them), then the search path.
QString toolProgram(const QString &name);

// A tool's error output cut to what a clerk can read (mysqlTools::toolMessage),
// after "<toolName>报告错误：".
QString toolProblem(const QString &toolName, const QByteArray &errorOutput);

#endif
