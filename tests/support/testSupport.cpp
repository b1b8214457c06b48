#include "testSupport.h"

#include "appSettings.h"
#include "installPaths.h"
#include "myDatabase.h"
#include "mysqlTools.h"
#include "frmLogin.h"
#include "mainWindow.h"
#include "myTools.h"
#include "operatorSql.h"

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QProgressDialog>
#include <QDir>
#include <QFile>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QProcess>
#include <QPushButton>
#include <QSqlError>
#include <QSqlQuery>
#include <QStringList>
#include <QTableWidget>
#include <QTest>
#include <memory>

namespace testSupport {

QString serverDir()
{
    QString dir = qEnvironmentVariable("ZELNOR_TEST_SERVER_DIR");
    // A benchmark run after `eval "$(scripts/local-server env DIR)"` finds
    // that server through MYSQL_HOME, which is its folder.
    if (dir.isEmpty() && QFile::exists(qEnvironmentVariable("MYSQL_HOME") + QStringLiteral("/client.env")))
        dir = qEnvironmentVariable("MYSQL_HOME");
    return dir.isEmpty() ? QStringLiteral(ZELNOR_TEST_SERVER_DIR) : dir;
}

static QString readEnvValue(const QString &name)
{
    QFile file(serverDir() + QStringLiteral("/client.env"));
    if (!file.open(QIODevice::ReadOnly))
        return QString();
    const QString prefix = QStringLiteral("export ") + name + QLatin1Char('=');
    for (const QByteArray &line : file.readAll().split('\n')) {
        const QString text = QString::fromUtf8(line);
        if (text.startsWith(prefix))
            return text.mid(prefix.size());
    }
    return QString();
}

QString serverScript() { return QStringLiteral(ZELNOR_SOURCE_DIR "/scripts/local-server"); }

QString socketPath() { return readEnvValue(QStringLiteral("MYSQL_UNIX_PORT")); }
int serverPort() { return readEnvValue(QStringLiteral("MYSQL_TCP_PORT")).toInt(); }

bool isChild() { return qEnvironmentVariableIsSet("ZELNOR_TEST_CHILD"); }

void initApplication()
{
    QCoreApplication::setApplicationName(QStringLiteral("ZELNOR"));
    QCoreApplication::setApplicationVersion(QStringLiteral("1.2.1"));
    // The data files come from the working folder (the build folder) only:
    // a test of a missing file must not be satisfied by an installation on
    // the machine.
    installPaths::setDataFolder(QStringLiteral("/nonexistent/zelnor-test-data"));
    if (isChild())
        return; // runInChild set the variables for this process
    qputenv("MYSQL_UNIX_PORT", socketPath().toLocal8Bit());
    qputenv("MYSQL_TCP_PORT", QByteArray::number(serverPort()));
    qputenv("MYSQL_HOME", serverDir().toLocal8Bit());
}

QProcess *startChild(const QStringList &arguments, const QString &socket, int port,
                     const QString &mysqlHome, const QStringList &wrapper)
{
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("ZELNOR_TEST_CHILD"), QStringLiteral("1"));
    env.insert(QStringLiteral("MYSQL_UNIX_PORT"), socket);
    env.insert(QStringLiteral("MYSQL_TCP_PORT"), QString::number(port));
    env.insert(QStringLiteral("MYSQL_HOME"), mysqlHome);
    auto *child = new QProcess;
    child->setProcessEnvironment(env);
    child->setProcessChannelMode(QProcess::MergedChannels);
    if (wrapper.isEmpty())
        child->start(QCoreApplication::applicationFilePath(), arguments);
    else
        child->start(wrapper.first(), wrapper.mid(1) + QStringList(QCoreApplication::applicationFilePath()) + arguments);
    return child;
}

int runInChild(const QStringList &arguments, const QString &socket, int port,
               const QString &mysqlHome, QString *output)
{
    std::unique_ptr<QProcess> child(startChild(arguments, socket, port, mysqlHome));
    if (!child->waitForFinished(60000)) {
        child->kill();
        child->waitForFinished();
    }
    if (output)
        *output = QString::fromLocal8Bit(child->readAll());
    return child->exitStatus() == QProcess::NormalExit ? child->exitCode() : -1;
}

int runOnPrivateServer(const QStringList &arguments, const QString &command, QString *output)
{
    QTemporaryDir dir(QStringLiteral("/tmp/zelnor-private-XXXXXX"));
    const QString server = dir.path() + QStringLiteral("/srv");
    QFile port(server + QStringLiteral("/port"));
    if (QProcess::execute(serverScript(), {command, server}) != 0 || !port.open(QIODevice::ReadOnly)) {
        *output = QStringLiteral("cannot prepare a server in ") + server + QLatin1Char('\n');
        return 1;
    }
    const int code = runInChild(arguments, server + QStringLiteral("/mysqld.sock"), port.readAll().trimmed().toInt(),
                                server, output);
    QProcess::execute(serverScript(), {QStringLiteral("stop"), server});
    return code;
}

QString settingsPath() { return appSettings::path(); }

void removeSettingsFile() { QFile::remove(settingsPath()); }

bool writeFile(const QString &path, const QByteArray &content)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size();
}

QByteArray readFile(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool connectAsRoot(const QString &database)
{
    myDatabase db;
    db.setAccount({QStringLiteral("localhost"), QStringLiteral("root"), QString(), database});
    QSqlError error;
    if (!db.open(&error)) {
        qWarning("connectAsRoot: %s", qPrintable(error.text()));
        return false;
    }
    return true;
}

bool exec(const QString &sql, QString *error)
{
    QSqlQuery query;
    if (query.exec(sql))
        return true;
    if (error)
        *error = query.lastError().text();
    else
        qWarning("SQL failed: %s\n  %s", qPrintable(sql), qPrintable(query.lastError().text()));
    return false;
}

QVariant scalar(const QString &sql)
{
    QSqlQuery query;
    if (query.exec(sql) && query.next())
        return query.value(0);
    return QVariant();
}

int count(const QString &tableAndCondition)
{
    return scalar(QStringLiteral("SELECT COUNT(*) FROM ") + tableAndCondition).toInt();
}

myDatabase rootConnection()
{
    myDatabase db(QStringLiteral("rootConnection"));
    if (!db.isOpen()) {
        db.setAccount({QStringLiteral("localhost"), QStringLiteral("root"), QString(), QStringLiteral("mysql")});
        if (!db.open())
            qFatal("no root connection of the test's own");
    }
    return db;
}

void resetDatabase(bool create)
{
    if (!connectAsRoot())
        qFatal("cannot reach the throwaway server in %s", qPrintable(serverDir()));
    exec(QStringLiteral("DROP DATABASE IF EXISTS zelnor"));
    const QString users = scalar(QStringLiteral("SELECT GROUP_CONCAT(QUOTE(User),'@',QUOTE(Host)) FROM mysql.user "
                                                "WHERE User NOT IN ('root','mariadb.sys','')")).toString();
    if (!users.isEmpty())
        exec(QStringLiteral("DROP USER ") + users);
    if (!create)
        return;
    exec(QStringLiteral("CREATE DATABASE zelnor DEFAULT CHARACTER SET utf8 COLLATE utf8_general_ci"));
    myDatabase::account root = myDatabase().credentials();
    root.database = QStringLiteral("zelnor");
    QString problem;
    if (!mysqlTools::runScript(root, QStringLiteral(ZELNOR_BINARY_DIR "/datamodel.sql"), &problem))
        qFatal("datamodel.sql failed: %s", qPrintable(problem));
    connectAsRoot(QStringLiteral("zelnor"));
}

static QString quotedOrNull(const QString &value)
{
    return value.isEmpty() ? QStringLiteral("NULL") : QLatin1Char('\'') + value + QLatin1Char('\'');
}

void insertLease(const leaseRow &row)
{
    const QString n = row.number;
    const QString year = n.mid(6, 4);
    if (!exec(QStringLiteral("INSERT lease SET 地区='%1',年度=%2,编号=%3,登记日期='%4',有效日起='%5-01-01',"
                             "有效日止='%5-12-31',收费金额=%6")
                  .arg(n.left(6), year, n.mid(10), row.date, row.date.left(4))
                  .arg(row.fee)))
        qFatal("insertLease %s failed", qPrintable(n));
    if (!row.lessor.isEmpty())
        exec(QStringLiteral("INSERT leaseout SET 登记编号='%1',出方名称=%2,出方电话=%3")
                 .arg(n, quotedOrNull(row.lessor), quotedOrNull(row.lessorPhone)));
    if (!row.lessee.isEmpty())
        exec(QStringLiteral("INSERT leasein SET 登记编号='%1',承方名称=%2,承方电话=%3")
                 .arg(n, quotedOrNull(row.lessee), quotedOrNull(row.lesseePhone)));
    if (!row.location.isEmpty())
        exec(QStringLiteral("INSERT leasehouse SET 登记编号='%1',房屋坐落=%2").arg(n, quotedOrNull(row.location)));
}

QString registration(const QString &number, const QString &columns)
{
    return scalar(QStringLiteral("SELECT CONCAT_WS('|',") + columns
                  + QStringLiteral(") FROM lease JOIN leaseout ON leaseout.登记编号=CONCAT(地区,年度*100000+编号) "
                                   "JOIN leasein ON leasein.登记编号=leaseout.登记编号 "
                                   "JOIN leasehouse ON leasehouse.登记编号=leaseout.登记编号 WHERE leaseout.登记编号='")
                  + number + QLatin1Char('\''))
        .toString();
}

QString databaseState()
{
    QStringList parts;
    QSqlQuery q(QStringLiteral("CHECKSUM TABLE lease, leaseout, leasein, leasehouse, log"));
    while (q.next())
        parts << q.value(1).toString();
    parts << scalar(QStringLiteral("SELECT GROUP_CONCAT(TABLE_NAME,'.',COLUMN_NAME,' ',COLUMN_TYPE,' ',EXTRA "
                                   "ORDER BY TABLE_NAME, ORDINAL_POSITION) FROM information_schema.COLUMNS "
                                   "WHERE TABLE_SCHEMA='zelnor'")).toString();
    parts << scalar(QStringLiteral("SELECT GROUP_CONCAT(TABLE_NAME,'.',INDEX_NAME,'.',NON_UNIQUE,'.',COLUMN_NAME "
                                   "ORDER BY TABLE_NAME, INDEX_NAME, SEQ_IN_INDEX) FROM information_schema.STATISTICS "
                                   "WHERE TABLE_SCHEMA='zelnor'")).toString();
    parts << scalar(QStringLiteral("SELECT GROUP_CONCAT(TRIGGER_NAME,':',ACTION_STATEMENT ORDER BY TRIGGER_NAME) "
                                   "FROM information_schema.TRIGGERS WHERE TRIGGER_SCHEMA='zelnor'")).toString();
    return parts.join(QLatin1Char('\n'));
}

QString tableCounts()
{
    QStringList counts;
    for (const char *table : {"lease", "leaseout", "leasein", "leasehouse", "log"})
        counts << QString::number(count(QLatin1String(table)));
    return counts.join(QLatin1Char('/'));
}

void createOperator(const QString &displayName, const QString &password, int level)
{
    const QString account = myTools::accountName(displayName);
    QStringList statements = operatorSql::grantStatements(account, operatorSql::levelText(level),
                                                          QStringLiteral("zelnor"));
    statements << operatorSql::setPasswordSql(account, QStringLiteral("%"), password);
    for (const QString &sql : statements)
        exec(sql);
}

mainWindow *login(const QString &name, const QString &password)
{
    auto *window = new mainWindow;
    window->show();
    submitLogin(window, name, password);
    return window;
}

static bool s_presetRegion = true;

void presetRegion(bool on) { s_presetRegion = on; }

void submitLogin(mainWindow *window, const QString &name, const QString &password, const QString &host)
{
    // An office's settings name its region; without one the login would ask
    // a supervisor for it in a modal dialog.
    if (s_presetRegion && !appSettings::hasRegion())
        appSettings::setValue(appSettings::key::region, QStringLiteral("000000"));
    auto *form = window->findChild<frmLogin *>();
    if (!form)
        qFatal("no login form");
    if (!host.isNull())
        form->serverEdit()->setText(host);
    form->nameBox()->setEditText(name);
    form->passwordEdit()->setText(password);
    form->loginButton()->click();
}

static QList<QAction *> menuActions(const QMainWindow *window)
{
    QList<QAction *> actions;
    for (QAction *menu : window->menuBar()->actions()) {
        if (!menu->menu())
            continue;
        for (QAction *a : menu->menu()->actions())
            if (!a->isSeparator())
                actions << a;
    }
    return actions;
}

QAction *menuAction(const QMainWindow *window, const QString &text)
{
    for (QAction *a : menuActions(window))
        if (a->text() == text)
            return a;
    return nullptr;
}

QStringList enabledActions(const QMainWindow *window, bool usable)
{
    QStringList names;
    for (QAction *a : menuActions(window))
        if (a->isEnabled() == usable)
            names << a->text();
    names.sort();
    return names;
}

QStringList logRows()
{
    QStringList rows;
    QSqlQuery q(QStringLiteral("SELECT 用户, 描述 FROM log"));
    while (q.next())
        rows << q.value(0).toString() + QLatin1Char('|') + q.value(1).toString();
    return rows;
}

QStringList tableLines(const QTableWidget *table)
{
    QStringList lines;
    for (int r = -1; r < table->rowCount(); ++r) {
        QStringList cells;
        for (int c = 0; c < table->columnCount(); ++c) {
            const QTableWidgetItem *item = r < 0 ? table->horizontalHeaderItem(c) : table->item(r, c);
            cells << (item ? item->text() : QString());
        }
        lines << cells.join(QLatin1Char('|'));
    }
    return lines;
}

statementLog::statementLog(const myDatabase &watched)
    : m_thread(watched.scalar(QStringLiteral("SELECT CONNECTION_ID()")).toLongLong())
{
    for (const char *sql : {"SET GLOBAL general_log=OFF", "SET GLOBAL log_output='TABLE'", "TRUNCATE mysql.general_log",
                            "SET GLOBAL general_log=ON"})
        rootConnection().exec(QLatin1String(sql));
}

statementLog::~statementLog() { rootConnection().exec(QStringLiteral("SET GLOBAL general_log=OFF")); }

QStringList statementLog::statements() const
{
    QSqlQuery query = rootConnection().query();
    query.exec(QStringLiteral("SELECT argument FROM mysql.general_log WHERE command_type='Query' AND thread_id=%1")
                   .arg(m_thread));
    QStringList sent;
    while (query.next())
        sent << QString::fromUtf8(query.value(0).toByteArray());
    return sent;
}

} // namespace testSupport

modalWatcher::modalWatcher(QMessageBox::StandardButton answer)
    : answer(answer)
{
    connect(&m_timer, &QTimer::timeout, this, &modalWatcher::poll);
    m_timer.start(20);
}

QStringList modalWatcher::take()
{
    QStringList texts;
    for (const seen &box : boxes) {
        const bool file = box.className == QLatin1String("QFileDialog");
        if (!file || texts.value(texts.size() - 1) != box.title)
            texts << (file ? box.title : box.title + QLatin1Char('|') + box.text);
    }
    boxes.clear();
    return texts;
}

void modalWatcher::poll()
{
    QWidget *modal = QApplication::activeModalWidget();
    // A maintenance job's progress goes by itself when the job ends; no one
    // answers it (its 取消 would stop the job).
    if (!modal || qobject_cast<QProgressDialog *>(modal))
        return;
    seen s{QString::fromLatin1(modal->metaObject()->className()), modal->windowTitle(), QString()};
    if (auto *box = qobject_cast<QMessageBox *>(modal)) {
        s.text = box->text();
        for (QAbstractButton *b : box->buttons())
            s.buttons << b->text();
        boxes.append(s);
        QAbstractButton *button = box->button(answer);
        if (!button)
            button = box->defaultButton() ? static_cast<QAbstractButton *>(box->defaultButton())
                                          : box->buttons().value(0);
        if (button)
            button->click();
        else
            box->close();
        return;
    }
    boxes.append(s);
    if (handler) {
        handler(modal);
    } else if (auto *dialog = qobject_cast<QDialog *>(modal)) {
        dialog->reject();
    } else {
        modal->close();
    }
}
