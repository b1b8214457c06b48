#include "dbTools.h"
#include "operationLog.h"

#include <QFileInfo>
#include <QLabel>
#include <QMessageBox>
#include <QProcess>
#include <QSqlError>
#include <QSqlQuery>

namespace dbTools {

bool reopen(QSqlDatabase &db)
{
    if (db.open())
        return true;
    QMessageBox::critical(nullptr, QObject::tr("Database Error"), db.lastError().text(),
                          QMessageBox::Ok);
    return false;
}

bool runScript(const QSqlDatabase &db, const QString &scriptPath, QString *problem, int timeoutMs)
{
    if (!QFileInfo(scriptPath).isReadable()) {
        if (problem)
            *problem = QStringLiteral("找不到脚本文件“%1”").arg(scriptPath);
        return false;
    }

    QStringList args;
    if (!db.password().isEmpty())
        args << QStringLiteral("-p") + db.password();
    args << QStringLiteral("-u") << db.userName() << QStringLiteral("-h") << db.hostName()
         << QStringLiteral("--database") << db.databaseName();

    QProcess client;
    client.setStandardInputFile(scriptPath);
    return runTool(client, QStringLiteral("mysql"), args, QStringLiteral("mysql客户端程序"), timeoutMs, problem);
}

bool runTool(QProcess &tool, const QString &program, const QStringList &args, const QString &toolName,
             int timeoutMs, QString *problem)
{
    QString why;
    tool.start(program, args);
    if (!tool.waitForStarted()) {
        why = QStringLiteral("无法运行%1：%2").arg(toolName, tool.errorString());
    } else if (!tool.waitForFinished(timeoutMs)) {
        tool.kill();
        tool.waitForFinished(2000);
        why = QStringLiteral("%1在%2秒内没有完成").arg(toolName).arg(timeoutMs / 1000);
    } else if (tool.exitStatus() != QProcess::NormalExit || tool.exitCode() != 0) {
        why = QStringLiteral("%1报告错误：%2")
                  .arg(toolName, QString::fromLocal8Bit(tool.readAllStandardError()).trimmed());
    }
    if (problem && !why.isEmpty())
        *problem = why;
    return why.isEmpty();
}

firstRun ensureDatabase(QSqlDatabase &db, const QString &databaseName, const QString &scriptPath,
                        const QString &operatorName, QLabel *messageLabel)
{
    reopen(db);
    firstRun result = firstRun::Existing;
    QSqlQuery query(db);
    query.exec(QStringLiteral("SHOW DATABASES LIKE '") + databaseName + QStringLiteral("';"));
    if (!query.next()) {
        messageLabel->setText(QStringLiteral("正在从模板恢复创建数据库……"));
        const bool created = query.exec(QStringLiteral("CREATE DATABASE ") + databaseName
                                        + QStringLiteral(" DEFAULT CHARACTER SET utf8 COLLATE utf8_general_ci"));
        db.setDatabaseName(databaseName); // effective at the next open
        QString problem;
        if (!created && query.lastError().nativeErrorCode() == QLatin1String("1007")) {
            // Another workstation created it since the check above and is
            // filling it now: neither run the template over its work nor drop it.
            messageLabel->clear();
            QMessageBox::critical(nullptr, QStringLiteral("错误"),
                                  QStringLiteral("另一台工作站正在创建数据库%1，请稍候重新登录。").arg(databaseName));
            result = firstRun::Failed;
        } else if (runScript(db, scriptPath, &problem)) {
            // Runs on the connection still opened on "mysql" before the
            // operator name is known; like every log writer it may fail quietly.
            query.exec(operationLog::insertSql(operatorName, QStringLiteral("建立模型")));
            messageLabel->setText(
                QStringLiteral("第一次运行，创建数据库OK。请设置打印控制、初始化用途等选择项目。"));
            result = firstRun::Created;
        } else {
            // An empty database would be found at the next login and never
            // filled; remove the one just made so the next login tries again.
            // One this run did not make is someone else's to keep.
            if (created)
                query.exec(QStringLiteral("DROP DATABASE ") + databaseName);
            messageLabel->clear();
            QMessageBox::critical(nullptr, QStringLiteral("错误"),
                                  QStringLiteral("无法从模板创建数据库：%1。请检查后重新登录。").arg(problem));
            result = firstRun::Failed;
        }
    }
    query.clear();
    db.close();
    return result;
}

bool runInTransaction(QSqlDatabase &db, const QStringList &statements, QSqlError *error)
{
    if (!db.transaction()) {
        *error = db.lastError();
        return false;
    }
    QSqlError failure;
    for (const QString &sql : statements) {
        QSqlQuery query(db);
        if (!query.exec(sql))
            failure = query.lastError();
    }
    if (failure.type() == QSqlError::NoError) {
        if (db.commit())
            return true;
        failure = db.lastError();
    }
    db.rollback();
    *error = failure;
    return false;
}

} // namespace dbTools
