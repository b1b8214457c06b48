#ifndef FORMHOST_H
#define FORMHOST_H

#include <QDate>
#include <QString>

class QProcess;
class QWidget;
class backupEngine;
class myDatabase;

// What a form may ask of the window it lives in. The main window implements
// it; a test can give a form a small host of its own. Forms never see the
// main window itself, so none of them depends on the others.
class formHost
{
public:
    virtual ~formHost() = default;

    // The one owner of the database connection.
    virtual myDatabase &database() = 0;
    // The logged-in operator's display name, as the log records it.
    virtual QString operatorName() const = 0;
    // Register/Region: the six digits every registration number starts with.
    virtual QString region() const = 0;
    virtual QString company() const = 0;
    // The server's date read at login, which the forms use as today.
    virtual QDate workDate() const = 0;
    // The working date once logged in; before that, the clock's.
    virtual QDate today() const = 0;

    // A status-bar message; 0 keeps it until the next one.
    virtual void showStatus(const QString &text, int timeoutMs = 0) = 0;
    // The status bar's message label (login errors, progress texts).
    virtual void setMessage(const QString &text) = 0;

    // Adds a form to the MDI area, shows it and gives it the focus.
    virtual void openForm(QWidget *form) = 0;
    // Closes a form together with its MDI frame.
    virtual void closeForm(QWidget *form) = 0;
    // Opens the registration in a fresh record form, after closing the record
    // forms already open (one lease at a time avoids editing the same
    // registration in two windows).
    virtual void openRegistration(const QString &number) = 0;

    // A backup engine for one maintenance job, set up with the automatic
    // backup folder and shown in the window's progress dialog; it deletes
    // itself when the job ends. Null, after telling the operator, when
    // another job runs or the server does not answer.
    virtual backupEngine *startMaintenance() = 0;
};

// The few things only the shell's own forms need: the login hands over to
// the post-login initialisation and records a server it started, the server
// dialog changes this run's exit, the background dialog works live on the
// window's background.
class shellHost : public formHost
{
public:
    virtual void afterLogin(const QString &databaseName) = 0;
    virtual void setServerProcess(QProcess *process) = 0;
    virtual void setAutoStop(bool on) = 0;

    virtual QString backgroundFile() const = 0;
    virtual bool backgroundDisplay() const = 0;
    virtual bool backgroundFill() const = 0;
    virtual void setBackground(const QString &file, bool display, bool fill) = 0;
    virtual void applyBackground() = 0;
};

#endif
