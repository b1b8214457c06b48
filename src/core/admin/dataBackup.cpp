#include "dataBackup.h"
#include "mysqlTools.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>

namespace dataBackup {

namespace {

bool fail(QString *problem, const QString &why)
{
    if (problem)
        *problem = why;
    return false;
}

// Writes the whole content, replacing what the file held. The file is
// truncated on purpose: written over a longer earlier file, the old tail
// would stay behind the new content, and on restore that stale tail is SQL
// the client would replay after the backup itself.
bool replaceContent(const QString &path, const QByteArray &content, QString *problem)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return fail(problem, QStringLiteral("无法写入文件“%1”：%2").arg(path, file.errorString()));
    if (file.write(content) != content.size() || !file.flush())
        return fail(problem, QStringLiteral("写入文件“%1”失败：%2").arg(path, file.errorString()));
    return true;
}

bool readContent(const QString &path, QByteArray *content, QString *problem)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return fail(problem, QStringLiteral("无法打开文件“%1”：%2").arg(path, file.errorString()));
    *content = file.readAll();
    return true;
}

} // namespace

QString workingFile()
{
    // Not straight in the temporary folder: here every account and every
    // running program shares it, so two backups at once would write one file,
    // and a ~mydata.sql another account left there cannot be written at all.
    // A folder of this run's own keeps the name; it goes when the program ends.
    static const QTemporaryDir folder(QDir::tempPath() + QStringLiteral("/zelnor-XXXXXX"));
    return (folder.isValid() ? folder.path() : QDir::tempPath()) + QStringLiteral("/~mydata.sql");
}

QString fileFilter() { return QStringLiteral("压缩格式 (*.sda);;文本格式 (*.sql)"); }

QString withExtension(const QString &chosen)
{
    // Only the file's own name counts: a dot in a folder name is no extension.
    if (QFileInfo(chosen).fileName().section(QLatin1Char('.'), 1).isEmpty())
        return chosen + QStringLiteral(".sda");
    return chosen;
}

QStringList dumpArguments(const myDatabase::account &db)
{
    QStringList args{QStringLiteral("-u"), db.user, QStringLiteral("-h"), db.host,
                     QStringLiteral("--no-create-db"), QStringLiteral("--databases"), db.database};
    // The triggers that remove a registration's party rows are part of the
    // data model; an option file saying skip-triggers must not drop them.
    args << QStringLiteral("--triggers");
    // One argument handed to the program as it is, never through a shell,
    // so blanks and quotes in the password need no escaping.
    if (!db.password.isEmpty())
        args << QStringLiteral("-p") + db.password;
    return args;
}

QByteArray withoutDefiners(QByteArray sql)
{
    static const QByteArray start("/*!50017 DEFINER=");
    int from = 0;
    while ((from = sql.indexOf(start, from)) >= 0) {
        int end = sql.indexOf("*/", from + start.size());
        if (end < 0)
            break;
        end += 2;
        if (end < sql.size() && sql.at(end) == ' ')
            ++end;
        sql.remove(from, end - from);
    }
    return sql;
}

bool backup(const myDatabase::account &db, const QString &fileName, QString *problem)
{
    const bool plain = fileName.endsWith(QStringLiteral(".sql"));
    const QString dumpTarget = plain ? fileName : workingFile();

    QProcess dump;
    // The tools may be installed beside the program rather than on the path.
    dump.setWorkingDirectory(QCoreApplication::applicationDirPath());
    // Truncated for the same reason as replaceContent(): no stale tail.
    dump.setStandardOutputFile(dumpTarget, QIODevice::Truncate);
    // Nothing is typed to the tool: a password prompt reads end-of-file and
    // fails at once instead of waiting for ever.
    dump.setStandardInputFile(QProcess::nullDevice());
    if (!mysqlTools::runTool(dump, QStringLiteral("mysqldump"), dumpArguments(db), QStringLiteral("mysqldump程序"), -1,
                          problem))
        return false;
    if (plain)
        return true;

    QByteArray sql;
    if (!readContent(workingFile(), &sql, problem))
        return false;
    return replaceContent(fileName, qCompress(sql, 9), problem);
}

bool restore(const myDatabase::account &db, const QString &fileName, QString *problem)
{
    QByteArray sql;
    if (!readContent(fileName, &sql, problem))
        return false;
    // The same rule as backup: only a name ending in .sql holds plain text,
    // so a backup saved under any other name can be restored as it was made.
    if (!fileName.endsWith(QStringLiteral(".sql"))) {
        sql = qUncompress(sql);
        // Feeding nothing would report a restore that did not happen.
        if (sql.isEmpty())
            return fail(problem, QStringLiteral("备份文件“%1”已损坏或不完整，数据没有恢复。").arg(fileName));
    }
    if (!replaceContent(workingFile(), withoutDefiners(sql), problem))
        return false;
    return mysqlTools::runScript(db, workingFile(), problem, -1);
}

} // namespace dataBackup
