#include "benchServer.h"

#include "appSettings.h"
#include "testSupport.h"

#include <QDir>
#include <QProcess>
#include <QSqlDatabase>

namespace testSupport {

benchServer::benchServer(const QString &name, bool removeData)
    : m_dir(QStringLiteral("/tmp/zelnor-bench-") + name)
    , m_removeData(removeData)
{
    qputenv("ZELNOR_TEST_SERVER_DIR", m_dir.toLocal8Bit());
    m_up = QProcess::execute(serverScript(), {QStringLiteral("start"), m_dir}) == 0;
    if (!m_up)
        qWarning("could not start a server in %s", qPrintable(m_dir));
    initApplication();
    appSettings::setFolder(m_settings.path());
}

benchServer::~benchServer()
{
    {
        QSqlDatabase db = QSqlDatabase::database(QLatin1String(QSqlDatabase::defaultConnection), false);
        if (db.isValid())
            db.close();
    }
    QProcess::execute(serverScript(), {QStringLiteral("stop"), m_dir});
    if (m_removeData)
        QDir(m_dir).removeRecursively();
    appSettings::setFolder(QString());
}

} // namespace testSupport
