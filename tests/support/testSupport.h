#ifndef TESTSUPPORT_H
#define TESTSUPPORT_H

#include <QAction>
#include <QList>
#include <QMainWindow>
#include <QMessageBox>
#include <QObject>
#include <QSqlDatabase>
#include <QString>
#include <QTimer>
#include <QVariant>
#include <functional>

#include "reporter.h"

class QTableWidget;
class mainWindow;
class myDatabase;
class QProcess;

// Shared helpers for the test programs. Database tests run against the real
// throwaway MariaDB that the CTest fixture starts (scripts/local-server).
namespace testSupport {

// Sets the identity main() sets and points the client library and the mysql
// tools at the throwaway server. Call first in initTestCase().
void initApplication();

QString serverDir();
// The command that prepares, starts and stops a throwaway server in a folder.
QString serverScript();

// The client library reads the socket and port variables once per process,
// so a test that needs another server (or none) runs its test functions (the
// arguments) in a child process of the same program with the variables set.
// mysqlHome holds the my.cnf the mysql tools read. Returns the exit code.
int runInChild(const QStringList &arguments, const QString &socket, int port,
               const QString &mysqlHome, QString *output);
// The same, started and left running (output channels merged); the caller
// owns and waits for the process. A wrapper (a program and its first
// arguments) runs the child as its last argument.
QProcess *startChild(const QStringList &arguments, const QString &socket, int port,
                     const QString &mysqlHome, const QStringList &wrapper = {});
// Runs the arguments in a child on a private server in a fresh folder under
// /tmp, which the server script's command ("init": prepared but not running,
// "start": running) makes first and "stop" ends, should the child leave it up.
int runOnPrivateServer(const QStringList &arguments, const QString &command, QString *output);
bool isChild();
QString socketPath();
int serverPort();

// Path of the settings file the program uses (beside the test program).
QString settingsPath();
void removeSettingsFile();

// A whole file's bytes, written (false when it cannot be) or read (empty
// when it cannot be).
bool writeFile(const QString &path, const QByteArray &content);
QByteArray readFile(const QString &path);

// Opens the default connection as root on the given database.
bool connectAsRoot(const QString &database = QStringLiteral("mysql"));

// A root connection of the test's own, opened once, apart from the default
// connection that belongs to whoever is logged in.
myDatabase rootConnection();

// Drops the business database and every operator account, recreates the
// database from datamodel.sql through the real mysql client, and leaves the
// default connection open on it as root. With create=false the database is
// only dropped (first-run tests).
void resetDatabase(bool create = true);

// Runs one statement on the default connection; on failure returns false and
// puts the server's text into *error (or prints it).
bool exec(const QString &sql, QString *error = nullptr);
// First column of the first row, or an invalid QVariant.
QVariant scalar(const QString &sql);
int count(const QString &tableAndCondition);

// Creates an operator account with the grants operator management gives
// (account name hex-encoded) at the given level: 1 主管, 2 操作, 3 浏览. The
// password is the inside of an SQL string literal: an apostrophe doubled.
void createOperator(const QString &displayName, const QString &password, int level);

// One registration written straight into the tables. Party rows are written
// only for the parts that are given (a lessor name for leaseout, and so on),
// so tests can leave rows out on purpose.
struct leaseRow {
    QString number;           // 15 digits
    QString date;             // 登记日期, yyyy-MM-dd
    int fee = 120;
    QString lessor, lessorPhone;
    QString lessee, lesseePhone;
    QString location;
};
void insertLease(const leaseRow &row);
// The given columns of one registration over its four tables, joined by "|"
// (CONCAT_WS: NULLs left out); empty when one of its rows is missing.
QString registration(const QString &number, const QString &columns);
// Everything a restore must bring back, to compare two moments: the rows of
// all five tables, the columns, the keys and the triggers.
QString databaseState();
// The rows of lease, leaseout, leasein, leasehouse and log, as "n/n/n/n/n".
QString tableCounts();

// Builds the main window and logs in through its real login form with host
// "localhost". The caller owns the window.
mainWindow *login(const QString &name = QStringLiteral("root"), const QString &password = QString());
// Whether submitLogin first writes the region 000000 into a settings file
// that has none (the default), as every office's settings have one; off for
// tests of the region prompt itself.
void presetRegion(bool on);
// Fills the open login form of a shown window and presses 登录(&L); a null
// host leaves the server field as the form filled it.
void submitLogin(mainWindow *window, const QString &name, const QString &password,
                 const QString &host = QStringLiteral("localhost"));

// The menu-bar action with exactly this text, or nullptr.
QAction *menuAction(const QMainWindow *window, const QString &text);
// Chooses that entry as an operator does; the form of that type it opened,
// or nullptr when the entry is missing or not usable.
template <typename Form>
Form *openThrough(QMainWindow *window, const QString &text)
{
    const QList<Form *> before = window->findChildren<Form *>();
    QAction *action = menuAction(window, text);
    if (!action || !action->isEnabled())
        return nullptr;
    action->trigger();
    for (Form *form : window->findChildren<Form *>())
        if (!before.contains(form))
            return form;
    return nullptr;
}
// Texts of the usable menu-bar actions (with usable false, the others), sorted.
QStringList enabledActions(const QMainWindow *window, bool usable = true);

// The log table as "用户|描述", in the order the server returns it.
QStringList logRows();
// The header line, then one line per row, cells joined by "|".
QStringList tableLines(const QTableWidget *table);

// What one connection sends to the server while this lives, from the
// server's general log, switched on and read through rootConnection().
class statementLog
{
public:
    explicit statementLog(const myDatabase &watched);
    ~statementLog();
    QStringList statements() const;

private:
    qlonglong m_thread;
};

} // namespace testSupport

// Takes the core's reports while it lives (the one installed before comes
// back afterwards) and keeps them as "title|text".
class recordingReporter : public reporter
{
public:
    recordingReporter() : m_previous(reporter::installed()) { reporter::install(this); }
    ~recordingReporter() override { reporter::install(m_previous); }
    void report(kind, const QString &title, const QString &text) override { m_seen << title + QLatin1Char('|') + text; }
    // What was reported since the last call.
    QStringList take()
    {
        QStringList seen;
        seen.swap(m_seen);
        return seen;
    }

private:
    reporter *m_previous;
    QStringList m_seen;
};

// Answers modal boxes (QMessageBox, input and file dialogs) so a test never
// hangs, and records what the user would have seen.
class modalWatcher : public QObject
{
    Q_OBJECT
public:
    struct seen {
        QString className;
        QString title;
        QString text;
        QStringList buttons; // a message box's, as shown
    };

    explicit modalWatcher(QMessageBox::StandardButton answer = QMessageBox::Ok);

    // Called for modal widgets that are not message boxes; it must close them.
    std::function<void(QWidget *)> handler;
    QMessageBox::StandardButton answer;
    QList<seen> boxes;

    QString lastText() const { return boxes.isEmpty() ? QString() : boxes.last().text; }
    QString lastTitle() const { return boxes.isEmpty() ? QString() : boxes.last().title; }
    // The boxes seen since the last call, as "title|text", a file dialog by
    // its title alone; a slow directory listing may have needed it answered twice.
    QStringList take();

private slots:
    void poll();

private:
    QTimer m_timer;
};

#endif
