#include "firstRun.h"

#include "mysqlTools.h"
#include "operationLog.h"
#include "reporter.h"

namespace firstRun {

outcome ensureDatabase(myDatabase &db, const QString &databaseName, const QString &scriptPath,
                       const QString &operatorName, const std::function<void(const QString &)> &showMessage)
{
    db.reopen();
    outcome result = outcome::Existing;
    if (!db.scalar(QStringLiteral("SHOW DATABASES LIKE '") + databaseName + QStringLiteral("';")).isValid()) {
        showMessage(QStringLiteral("正在从模板恢复创建数据库……"));
        QSqlError createError;
        const bool created = db.exec(QStringLiteral("CREATE DATABASE ") + databaseName
                                         + QStringLiteral(" DEFAULT CHARACTER SET utf8 COLLATE utf8_general_ci"),
                                     &createError);
        db.setDatabaseName(databaseName); // effective at the next open
        QString problem;
        myDatabase::account script = db.credentials();
        script.database = databaseName;
        if (!created && createError.nativeErrorCode() == QLatin1String("1007")) {
            // Another workstation created it since the check above and is
            // filling it now: neither run the template over its work nor drop it.
            showMessage(QString());
            reporter::critical(QStringLiteral("错误"),
                               QStringLiteral("另一台工作站正在创建数据库%1，请稍候重新登录。").arg(databaseName));
            result = outcome::Failed;
        } else if (mysqlTools::runScript(script, scriptPath, &problem)) {
            // Runs on the connection still opened on "mysql" before the
            // operator name is known; like every log writer it may fail quietly.
            db.exec(operationLog::insertSql(operatorName, QStringLiteral("建立模型")));
            showMessage(QStringLiteral("第一次运行，创建数据库OK。请设置打印控制、初始化用途等选择项目。"));
            result = outcome::Created;
        } else {
            // An empty database would be found at the next login and never
            // filled; remove the one just made so the next login tries again.
            // One this run did not make is someone else's to keep.
            if (created)
                db.exec(QStringLiteral("DROP DATABASE ") + databaseName);
            showMessage(QString());
            reporter::critical(QStringLiteral("错误"),
                               QStringLiteral("无法从模板创建数据库：%1。请检查后重新登录。").arg(problem));
            result = outcome::Failed;
        }
    }
    db.close();
    return result;
}

} // namespace firstRun
