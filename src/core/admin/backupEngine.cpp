#include "backupEngine.h"
#include "dumpScanner.h"
#include "operationLog.h"
#include "schemaRepair.h"
#include "sdaStream.h"
#include "sqlText.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>
#include <QSaveFile>
#include <QSqlError>
#include <QThread>
#include <memory>

#if defined(Q_OS_UNIX)
#include <sys/stat.h>
#endif

namespace {

const qint64 chunkSize = 256 * 1024;
// What may wait in the pipe to the mysql client; the rest of the file waits
// unread.
const qint64 clientBacklog = 4 * 1024 * 1024;
// The automatic backups are named in the operators' language: the clerk who
// wants to undo a restore picks the file in a dialog, and 恢复前 ("before
// restoring") says what it holds where an ASCII word would not. Qt passes
// file names to the system in its own encoding, so the names need nothing
// special on either Linux or Windows.
const QString restoreAction = QStringLiteral("恢复前");
const QString clearAction = QStringLiteral("清理前");

bool isPlainName(const QString &fileName)
{
    // Only a name ending in .sql holds plain text; the rule earlier
    // installations used, so a backup saved under any other name restores as
    // it was made.
    return fileName.endsWith(QStringLiteral(".sql"));
}

// Files made while this lives are the owner's alone from their first byte:
// QSaveFile creates its temporary file readable by all (0666 less the
// umask), and a permission set after that would come too late for a reader
// who opened it in between.
class privateFiles
{
public:
#if defined(Q_OS_UNIX)
    privateFiles() : m_old(::umask(077)) {}
    ~privateFiles() { ::umask(m_old); }

private:
    mode_t m_old;
#endif
};

QString writeProblem(const QFileDevice &file, const QString &path)
{
    switch (file.error()) {
    case QFileDevice::ResourceError:
        return QStringLiteral("磁盘空间不足，无法写完“%1”").arg(path);
    case QFileDevice::OpenError:
    case QFileDevice::PermissionsError:
        if (!QFileInfo::exists(QFileInfo(path).absolutePath()))
            return QStringLiteral("文件夹“%1”不存在").arg(QFileInfo(path).absolutePath());
        if (!QFileInfo(QFileInfo(path).absolutePath()).isWritable())
            return QStringLiteral("没有权限在文件夹“%1”里写文件").arg(QFileInfo(path).absolutePath());
        break;
    default:
        break;
    }
    return QStringLiteral("无法写入“%1”：%2").arg(path, file.errorString());
}

// A copy of the caller's connection for the job's thread, on the business
// database whatever the caller's connection was last switched to.
class jobConnection
{
public:
    jobConnection(const myDatabase &source, const QString &database)
        : m_db(source.copy(QStringLiteral("backupEngine-%1").arg(quintptr(QThread::currentThreadId())), database,
                           &m_error))
    {
    }
    ~jobConnection() { m_db.discard(); }
    myDatabase &db() { return m_db; }
    bool isOpen() const { return m_db.isOpen(); }
    QString problem() const { return m_error.text(); }

private:
    QSqlError m_error;
    myDatabase m_db;
};

} // namespace

// One job on its own thread: the steps share the tools' private folder, the
// cancel flag and the progress reporting.
class backupJob
{
public:
    explicit backupJob(backupEngine *engine)
        : m_engine(engine)
        , m_tools(engine->m_account)
    {
    }

    bool cancelled() const { return m_engine->m_cancellable && m_engine->m_cancel; }

    void enter(backupEngine::stage stage, const QString &text, bool cancellable)
    {
        m_engine->m_cancellable = cancellable;
        emit m_engine->stageChanged(stage, text);
    }

    void progress(qint64 done, qint64 total, bool force = false)
    {
        if (!force && m_sinceProgress.isValid() && m_sinceProgress.elapsed() < 100)
            return;
        m_sinceProgress.restart();
        emit m_engine->progress(done, total);
    }

    QString database() const { return m_engine->m_account.database; }

    // The dump's likely size, from what the tables take on the server.
    qint64 estimatedDumpSize()
    {
        jobConnection connection(m_engine->m_db, database());
        return connection.db()
            .scalar(QStringLiteral("SELECT SUM(DATA_LENGTH) FROM information_schema.TABLES WHERE TABLE_SCHEMA='")
                    + sqlText::escaped(database()) + QLatin1Char('\''))
            .toLongLong();
    }

    bool startTool(QProcess &tool, const QString &program, const QStringList &args, QString *problem)
    {
        if (!m_tools.isValid()) {
            *problem = m_tools.errorString();
            return false;
        }
        tool.start(toolProgram(program), m_tools.arguments() + args);
        if (!tool.waitForStarted()) {
            *problem = QStringLiteral("无法运行%1程序：%2").arg(program, tool.errorString());
            return false;
        }
        emit m_engine->toolStarted(tool.processId(), program);
        return true;
    }

    // mysqldump into target, replacing it only with a complete dump.
    bool dump(const QString &target, QString *problem)
    {
        const bool plain = isPlainName(target);
        QSaveFile file(target);
        bool opened;
        {
            privateFiles owner;
            opened = file.open(QIODevice::WriteOnly);
        }
        // An existing target passes its permissions on to the new file; a
        // backup is its owner's alone whatever the old one was.
        if (!opened || !file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner)) {
            *problem = writeProblem(file, target);
            return false;
        }
        m_tools.noteWriting(target);
        const bool ok = dumpInto(file, plain, target, problem);
        if (!ok)
            file.cancelWriting();
        m_tools.doneWriting();
        return ok;
    }

    bool dumpInto(QSaveFile &file, bool plain, const QString &target, QString *problem)
    {
        const qint64 estimate = estimatedDumpSize();
        QProcess tool;
        tool.setStandardInputFile(QProcess::nullDevice());
#if defined(Q_OS_LINUX)
        // A plain dump goes straight from mysqldump into the temporary file,
        // reopened through /proc (QProcess takes only a path): passed through
        // this process, 500 MB cost it 1.5 s of CPU for nothing, a sixth of
        // what mysqldump itself takes. Elsewhere it takes the pipe below.
        const QString straight = plain ? QStringLiteral("/proc/self/fd/%1").arg(file.handle()) : QString();
        if (plain)
            tool.setStandardOutputFile(straight, QIODevice::Truncate);
#else
        const QString straight;
#endif
        // --single-transaction reads one consistent snapshot without locking
        // the tables, so other workstations go on saving meanwhile.
        // --triggers and --comments are named although they are the default:
        // an option file saying otherwise would drop the delete triggers or
        // the closing line by which a complete dump is known.
        const QStringList args = {QStringLiteral("--single-transaction"), QStringLiteral("--no-create-db"),
                                  QStringLiteral("--triggers"), QStringLiteral("--comments"),
                                  QStringLiteral("--databases"), database()};
        if (!startTool(tool, QStringLiteral("mysqldump"), args, problem))
            return false;

        std::unique_ptr<sdaStream::writer> compressed;
        if (!plain) {
            compressed.reset(new sdaStream::writer(&file));
            if (!compressed->begin()) {
                tool.kill();
                tool.waitForFinished();
                *problem = writeProblem(file, target);
                return false;
            }
        }
        dumpScanner scanner;
        bool written = true;
        bool stopped = false;
        if (!straight.isEmpty()) {
            while (!tool.waitForFinished(100)) {
                if (cancelled()) {
                    stopped = true;
                    break;
                }
                progress(file.size(), qMax(estimate, file.size()));
            }
        } else {
            // One buffer for the whole dump: a fresh one for every read would
            // cost an allocation (a mapping, at this size) for each few KiB
            // the tool writes.
            QByteArray buffer(int(chunkSize), Qt::Uninitialized);
            qint64 done = 0;
            for (;;) {
                if (cancelled()) {
                    stopped = true;
                    break;
                }
                if (tool.bytesAvailable() == 0) {
                    if (tool.state() == QProcess::NotRunning)
                        break;
                    tool.waitForReadyRead(100);
                    continue;
                }
                const qint64 n = tool.read(buffer.data(), chunkSize);
                scanner.feed(buffer.constData(), n);
                written = plain ? sdaStream::writeAll(&file, buffer.constData(), n)
                                : compressed->write(buffer.constData(), n);
                if (!written)
                    break;
                done += n;
                progress(done, qMax(estimate, done));
            }
        }
        if (stopped || !written) {
            tool.kill();
            tool.waitForFinished();
            *problem = stopped ? QStringLiteral("备份已取消") : writeProblem(file, target);
            return false;
        }
        tool.waitForFinished(-1);
        if (tool.exitStatus() != QProcess::NormalExit) {
            *problem = QStringLiteral("mysqldump程序意外终止");
            return false;
        }
        if (tool.exitCode() != 0) {
            const QByteArray errors = tool.readAllStandardError();
            // What mysqldump says when the disk it writes to is full.
            *problem = errors.contains("errno 28") ? QStringLiteral("磁盘空间不足，无法写完“%1”").arg(target)
                                                   : toolProblem(QStringLiteral("mysqldump程序"), errors);
            return false;
        }
        if (!straight.isEmpty()) {
            // Only its end says whether the dump is complete.
            QFile written(straight);
            const qint64 tail = 64 * 1024;
            if (written.open(QIODevice::ReadOnly) && written.seek(qMax<qint64>(0, written.size() - tail)))
                scanner.feed(written.read(tail));
        }
        scanner.finish();
        progress(file.size(), file.size(), true);
        if (!scanner.isComplete()) {
            *problem = QStringLiteral("mysqldump程序的输出没有结束行，备份不完整");
            return false;
        }
        if ((compressed && !compressed->finish()) || !file.commit()) {
            *problem = writeProblem(file, target);
            return false;
        }
        return true;
    }

    // Streams the plain text of a backup to sink: a .sql as it is, anything
    // else through the .sda reader. progress hears the file's bytes read.
    bool readBackup(const QString &path, const dumpScanner::sink &sink, QString *problem)
    {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly)) {
            *problem = QStringLiteral("无法打开备份文件“%1”：%2").arg(path, file.errorString());
            return false;
        }
        const qint64 size = file.size();
        if (isPlainName(path)) {
            QByteArray chunk(int(chunkSize), Qt::Uninitialized);
            qint64 done = 0;
            for (;;) {
                const qint64 n = file.read(chunk.data(), chunkSize);
                if (n < 0) {
                    *problem = QStringLiteral("备份文件“%1”读不出来：%2").arg(path, file.errorString());
                    return false;
                }
                if (n == 0)
                    return true;
                done += n;
                progress(done, size);
                if (!sink(chunk.constData(), n))
                    return false;
            }
        }
        const sdaStream::readResult result =
            sdaStream::read(&file, sink, [&](qint64 done) { progress(done, size); });
        if (result == sdaStream::readResult::Complete || result == sdaStream::readResult::Stopped)
            return result == sdaStream::readResult::Complete;
        *problem = QStringLiteral("备份文件“%1”%2").arg(path, sdaStream::describe(result));
        return false;
    }

    // The whole file is a complete dump of this database: read to its end,
    // nothing sent anywhere.
    bool check(const QString &path, QString *problem)
    {
        dumpScanner scanner;
        if (!readBackup(path, [&](const char *data, qint64 size) { return !cancelled() && scanner.feed(data, size); },
                        problem)) {
            if (problem->isEmpty())
                *problem = QStringLiteral("恢复已取消");
            return false;
        }
        scanner.finish();
        if (!scanner.isComplete()) {
            *problem = QStringLiteral("备份文件“%1”不完整：没有mysqldump的结束行，可能备份时中断或文件被截短").arg(path);
            return false;
        }
        for (const QString &name : scanner.databases()) {
            if (name != database()) {
                *problem = QStringLiteral("备份文件“%1”是数据库%2的备份，不是%3的").arg(path, name, database());
                return false;
            }
        }
        return true;
    }

    // Feeds the file to the mysql client. Once this starts, tables change.
    bool load(const QString &path, QString *problem)
    {
        QProcess client;
        client.setStandardOutputFile(QProcess::nullDevice());
        if (!startTool(client, QStringLiteral("mysql"), {QStringLiteral("--database"), database()}, problem))
            return false;
        auto toClient = [&](const char *data, qint64 size) {
            if (client.state() != QProcess::Running || client.write(data, size) != size)
                return false;
            while (client.bytesToWrite() > clientBacklog) {
                if (!client.waitForBytesWritten(1000) && client.state() != QProcess::Running)
                    return false;
            }
            return true;
        };
        dumpScanner scanner(toClient);
        QString readProblem;
        bool fed = readBackup(path, [&](const char *data, qint64 size) { return scanner.feed(data, size); },
                              &readProblem)
            && scanner.finish();
        while (fed && client.bytesToWrite() > 0) {
            if (!client.waitForBytesWritten(1000) && client.state() != QProcess::Running)
                fed = false;
        }
        client.closeWriteChannel();
        client.waitForFinished(-1);
        if (client.exitStatus() != QProcess::NormalExit) {
            *problem = QStringLiteral("mysql客户端程序意外终止");
            return false;
        }
        if (client.exitCode() != 0) {
            *problem = toolProblem(QStringLiteral("mysql客户端程序"), client.readAllStandardError());
            return false;
        }
        if (!fed) {
            // Read once already in full; failing now means the file changed.
            *problem = readProblem.isEmpty() ? QStringLiteral("mysql客户端程序提前结束") : readProblem;
            return false;
        }
        return true;
    }

    bool automaticBackup(const QString &action, QString *path, QString *problem)
    {
        const QString folder = m_engine->m_automaticFolder;
        if (folder.isEmpty()) {
            *problem = QStringLiteral("没有设置自动备份的文件夹");
            return false;
        }
        if (!QFileInfo::exists(folder)) {
            if (!QDir().mkpath(folder)) {
                *problem = QStringLiteral("无法建立自动备份文件夹“%1”").arg(folder);
                return false;
            }
            QFile::setPermissions(folder, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
        }
        const QDateTime now = QDateTime::currentDateTime();
        QString name = backupEngine::automaticBackupName(now, action);
        for (int n = 2; QFileInfo::exists(QDir(folder).filePath(name)); ++n)
            name = backupEngine::automaticBackupName(now, action + QLatin1Char('-') + QString::number(n));
        *path = QDir(folder).filePath(name);
        return dump(*path, problem);
    }

    // Keeps the newest automatic backups, and never the file being restored.
    void prune(const QString &keep)
    {
        const QString folder = m_engine->m_automaticFolder;
        const QStringList names = backupEngine::automaticBackups(folder);
        for (int i = m_engine->m_kept; i < names.size(); ++i) {
            const QString path = QDir(folder).filePath(names.at(i));
            if (QFileInfo(path) != QFileInfo(keep))
                QFile::remove(path);
        }
    }

private:
    backupEngine *m_engine;
    toolFolder m_tools;
    QElapsedTimer m_sinceProgress;
};

backupEngine::backupEngine(const myDatabase &db, QObject *parent)
    : QObject(parent)
    , m_account(db.credentials())
    , m_db(db)
{
    // The stage reaches the caller's thread through a queued connection.
    qRegisterMetaType<backupEngine::stage>();
}

namespace {
// One maintenance job in the whole program: a restore while a backup of the
// same database runs, or a clearing during a restore, would each spoil the
// other's result.
std::atomic<bool> s_jobRunning{false};
} // namespace

backupEngine::~backupEngine()
{
    if (m_thread) {
        m_cancel = true;
        m_thread->wait();
        delete m_thread;
        s_jobRunning = false; // its end will not be delivered to a gone engine
    }
}

bool backupEngine::anyRunning() { return s_jobRunning; }

bool backupEngine::start(const std::function<outcome(backupJob &)> &work)
{
    bool idle = false;
    if (m_running || !s_jobRunning.compare_exchange_strong(idle, true))
        return false;
    m_running = true;
    m_cancel = false;
    m_cancellable = true;
    m_thread = QThread::create([this, work] {
        outcome result;
        {
            backupJob job(this);
            result = work(job);
        }
        QMetaObject::invokeMethod(this, [this, result] { done(result); }, Qt::QueuedConnection);
    });
    m_thread->start();
    return true;
}

void backupEngine::done(const outcome &result)
{
    m_thread->wait();
    delete m_thread;
    m_thread = nullptr;
    m_succeeded = result.ok;
    m_message = result.message;
    m_warning = result.warning;
    m_automaticBackup = result.automaticBackup;
    m_repaired = result.repaired;
    m_running = false;
    m_cancellable = false;
    s_jobRunning = false;
    emit finished(result.ok, result.message);
}

bool backupEngine::startBackup(const QString &fileName)
{
    return start([fileName](backupJob &job) {
        outcome result;
        job.enter(stage::Dumping, QStringLiteral("正在备份数据……"), true);
        const bool existed = QFileInfo::exists(fileName);
        QString problem;
        result.ok = job.dump(fileName, &problem);
        if (result.ok)
            result.message = QStringLiteral("数据备份完成：%1").arg(fileName);
        else
            result.message = QStringLiteral("备份没有完成：%1。").arg(problem)
                + (existed ? QStringLiteral("原来的文件“%1”没有改动。").arg(fileName) : QString());
        return result;
    });
}

bool backupEngine::startRestore(const QString &fileName)
{
    return start([this, fileName](backupJob &job) {
        outcome result;
        QString problem;
        const QString untouched = QStringLiteral("，数据没有恢复。");
        job.enter(stage::Checking, QStringLiteral("正在检查备份文件……"), true);
        if (!job.check(fileName, &problem)) {
            result.message = problem + untouched;
            return result;
        }
        job.enter(stage::AutomaticBackup, QStringLiteral("正在自动备份当前数据……"), true);
        if (!job.automaticBackup(restoreAction, &result.automaticBackup, &problem)) {
            result.message = QStringLiteral("恢复前无法自动备份当前数据：") + problem + untouched;
            result.automaticBackup.clear();
            return result;
        }
        const QString undo = QStringLiteral("恢复前的数据已自动备份到“%1”").arg(result.automaticBackup);
        job.enter(stage::Loading, QStringLiteral("正在恢复数据……"), false);
        if (!job.load(fileName, &problem)) {
            result.message = QStringLiteral("恢复没有完成：%1\n数据库可能只恢复了一部分。%2，可以用它恢复原来的数据。")
                                 .arg(problem, undo);
            job.prune(fileName);
            return result;
        }
        job.enter(stage::Repairing, QStringLiteral("正在检查索引和触发器……"), false);
        {
            jobConnection connection(m_db, m_account.database);
            result.warning = connection.isOpen()
                ? schemaRepair::ensure(connection.db(), m_templatePath, &result.repaired)
                : QStringLiteral("无法连接数据库检查索引和触发器：") + connection.problem();
        }
        job.prune(fileName);
        result.ok = true;
        result.message = QStringLiteral("数据恢复完成，请重新登录！%1，用它恢复即可撤销这次恢复。").arg(undo);
        if (!result.repaired.isEmpty())
            result.message += QStringLiteral("\n备份里缺少的已经补上：%1。").arg(result.repaired.join(QStringLiteral("、")));
        return result;
    });
}

bool backupEngine::startClearing(const QDate &before, const QString &operatorName)
{
    return start([this, before, operatorName](backupJob &job) {
        outcome result;
        QString problem;
        job.enter(stage::AutomaticBackup, QStringLiteral("正在自动备份当前数据……"), true);
        if (!job.automaticBackup(clearAction, &result.automaticBackup, &problem)) {
            result.message = QStringLiteral("清理前无法自动备份当前数据：") + problem + QStringLiteral("，没有清理。");
            result.automaticBackup.clear();
            return result;
        }
        job.enter(stage::Clearing, QStringLiteral("正在清理业务数据……"), false);
        const QString date = before.toString(QStringLiteral("yyyy-MM-dd"));
        jobConnection connection(m_db, m_account.database);
        QSqlError error;
        result.ok = connection.isOpen()
            && connection.db().runInTransaction(
                {QStringLiteral("DELETE FROM lease WHERE 登记日期<'") + date + QLatin1Char('\''),
                 operationLog::insertSql(operatorName, QStringLiteral("清理") + date + QStringLiteral("之前业务数据"))},
                &error);
        job.prune(QString());
        if (result.ok)
            result.message = QStringLiteral("数据清理OK。清理前的数据已自动备份到“%1”，用它恢复即可撤销这次清理。")
                                 .arg(result.automaticBackup);
        else
            result.message = connection.isOpen() ? error.text() : connection.problem();
        return result;
    });
}

QString backupEngine::automaticBackupName(const QDateTime &when, const QString &action)
{
    return when.toString(QStringLiteral("yyyyMMdd-HHmmss-")) + action + QStringLiteral(".sda");
}

QStringList backupEngine::automaticBackups(const QString &folder)
{
    static const QRegularExpression pattern(QStringLiteral("^\\d{8}-\\d{6}-(%1|%2)(-\\d+)?\\.sda$")
                                                .arg(restoreAction, clearAction));
    QStringList names;
    for (const QString &name : QDir(folder).entryList({QStringLiteral("*.sda")}, QDir::Files, QDir::Name | QDir::Reversed))
        if (pattern.match(name).hasMatch())
            names << name;
    return names;
}

qint64 backupEngine::clearingCount(const myDatabase &db, const QDate &before, QString *problem)
{
    QSqlError error;
    const QVariant count = db.scalar(QStringLiteral("SELECT COUNT(*) FROM lease WHERE 登记日期<'")
                                         + before.toString(QStringLiteral("yyyy-MM-dd")) + QLatin1Char('\''),
                                     &error);
    if (count.isValid())
        return count.toLongLong();
    if (problem)
        *problem = error.text();
    return -1;
}
