#ifndef BACKUPENGINE_H
#define BACKUPENGINE_H

#include "myDatabase.h"
#include "toolFolder.h"

#include <QDate>
#include <QDateTime>
#include <QObject>
#include <QString>
#include <QStringList>
#include <atomic>
#include <functional>

class QThread;
class backupJob;

// Backup, restore and clearing of the business database that never destroy
// what they replace, at any size, off the calling thread:
//
// - A backup streams mysqldump's output (compressed for .sda, as it is for
//   .sql) into a temporary file beside the chosen one, which replaces it only
//   when mysqldump ended normally and its output ends with its closing line.
//   Otherwise the old file stays as it was.
// - A restore first reads the whole file and checks that it is a complete
//   dump of this database; only then does anything touch a table. Before
//   loading it, and before a clearing, the current data is backed up into the
//   automatic backup folder, so the action can be undone by restoring that
//   file. After loading, the keys and triggers the program relies on are
//   added where the backup lacked them (see schemaRepair).
// - Memory stays flat whatever the size: nothing holds the whole dump.
//
// One job at a time. The job runs on a thread of its own; the signals arrive
// on the thread that owns the engine. No widgets: results are signals and
// texts for the caller to show.
class backupEngine : public QObject
{
    Q_OBJECT
public:
    enum class stage { Checking, AutomaticBackup, Dumping, Loading, Repairing, Clearing };
    Q_ENUM(stage)

    // The tools log in with the connection's account; SQL runs on a copy of
    // the connection, opened on the job's thread (a connection serves one
    // thread).
    explicit backupEngine(const myDatabase &db, QObject *parent = nullptr);
    // Waits for a running job: a restore that is loading cannot be stopped
    // half-way; anything else is cancelled first.
    ~backupEngine() override;

    // Where automatic backups go (made 0700 if created) and how many are kept;
    // never fewer than ten.
    void setAutomaticBackupFolder(const QString &folder) { m_automaticFolder = folder; }
    void setAutomaticBackupsKept(int count) { m_kept = count < 10 ? 10 : count; }
    // The database template (datamodel.sql) the check after a restore reads.
    void setTemplatePath(const QString &path) { m_templatePath = path; }

    // A name ending in .sql gives plain text, any other a .sda. False when a
    // job is already running.
    bool startBackup(const QString &fileName);
    bool startRestore(const QString &fileName);
    // Deletes the registrations registered before the date (their party rows
    // go by the triggers) and writes the log row, in one transaction.
    bool startClearing(const QDate &before, const QString &operatorName);

    // A backup stops and leaves the old file; a restore or clearing stops
    // only while checking or backing up automatically, never once it changes
    // the database.
    void cancel() { m_cancel = true; }
    bool canCancel() const { return m_running && m_cancellable; }
    // Whether the operator asked the last job to stop.
    bool cancelRequested() const { return m_cancel; }
    bool isRunning() const { return m_running; }
    // Whether any engine of the program runs a job: only one may at a time,
    // and the start functions return false meanwhile.
    static bool anyRunning();

    // The last finished job's outcome. message() is for the operator either
    // way; warning(), when not empty, is what the check after a restore could
    // not put right (the data itself was restored). automaticBackup() is the
    // file made before the restore or clearing, empty if none.
    bool succeeded() const { return m_succeeded; }
    QString message() const { return m_message; }
    QString warning() const { return m_warning; }
    QString automaticBackup() const { return m_automaticBackup; }
    QStringList repaired() const { return m_repaired; }

    // yyyyMMdd-HHmmss-<action>.sda, where action is 恢复前 or 清理前.
    static QString automaticBackupName(const QDateTime &when, const QString &action);
    // The automatic backups in a folder, newest first.
    static QStringList automaticBackups(const QString &folder);
    // How many registrations a clearing with this date would delete; -1 with
    // *problem on failure. Runs on the calling thread: the date index makes
    // it quick.
    static qint64 clearingCount(const myDatabase &db, const QDate &before, QString *problem = nullptr);

signals:
    void stageChanged(backupEngine::stage stage, const QString &text);
    // Bytes done and the total: of the dump for a backup (the total estimated
    // from the tables' size), of the file for a restore's check and load.
    void progress(qint64 done, qint64 total);
    // Emitted on the job's thread as soon as a tool runs.
    void toolStarted(qint64 pid, const QString &program);
    void finished(bool ok, const QString &message);

private:
    friend class backupJob;
    struct outcome {
        bool ok = false;
        QString message, warning, automaticBackup;
        QStringList repaired;
    };
    bool start(const std::function<outcome(backupJob &)> &work);
    void done(const outcome &result);

    toolAccount m_account;
    myDatabase m_db;
    QString m_automaticFolder;
    QString m_templatePath = QStringLiteral("datamodel.sql");
    int m_kept = 10;

    QThread *m_thread = nullptr;
    std::atomic<bool> m_running{false};
    std::atomic<bool> m_cancel{false};
    std::atomic<bool> m_cancellable{false};

    bool m_succeeded = false;
    QString m_message, m_warning, m_automaticBackup;
    QStringList m_repaired;
};

#endif
