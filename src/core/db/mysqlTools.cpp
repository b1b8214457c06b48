#include "mysqlTools.h"

#include <QFileInfo>
#include <QProcess>

namespace mysqlTools {

bool runScript(const myDatabase::account &account, const QString &scriptPath, QString *problem, int timeoutMs)
{
    if (!QFileInfo(scriptPath).isReadable()) {
        if (problem)
            *problem = QStringLiteral("找不到脚本文件“%1”").arg(scriptPath);
        return false;
    }

    QStringList args;
    if (!account.password.isEmpty())
        args << QStringLiteral("-p") + account.password;
    args << QStringLiteral("-u") << account.user << QStringLiteral("-h") << account.host
         << QStringLiteral("--database") << account.database;

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

} // namespace mysqlTools
