#include "frmLogin.h"

#include "appSettings.h"
#include "formHost.h"
#include "myDatabase.h"
#include "myTools.h"

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QCompleter>
#include <QElapsedTimer>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QProcess>
#include <QPushButton>
#include <QSqlError>
#include <QVBoxLayout>

frmLogin::frmLogin(shellHost *host, QWidget *parent)
    : QWidget(parent), m_host(host)
{
    setWindowTitle(QStringLiteral("操作员登录"));
    setWindowIcon(QIcon(QStringLiteral(":/image/keys.png")));
    setAttribute(Qt::WA_DeleteOnClose);

    linServer = new QLineEdit;
    auto *lblServer = new QLabel(QStringLiteral("服  务  器(&A)："));
    lblServer->setBuddy(linServer);
    auto *actServer = new QAction(QStringLiteral("记忆当前服务器"), linServer);
    connect(actServer, &QAction::triggered, this, &frmLogin::rememberServer);
    linServer->addAction(actServer);
    linServer->setContextMenuPolicy(Qt::ActionsContextMenu);

    cbxName = new QComboBox;
    cbxName->setEditable(true);
    // The list holds the remembered names and nothing else: Enter must not
    // add what was typed (a password typed into the wrong box would stay
    // in the list for everyone to see).
    cbxName->setInsertPolicy(QComboBox::NoInsert);
    // Completion offers remembered names in a list and changes nothing the
    // operator typed until one is chosen, and only names of the same case:
    // account names are case-sensitive, so "root" must never turn into
    // "Root…", nor "li" into "lisa" behind the operator's back.
    cbxName->completer()->setCaseSensitivity(Qt::CaseSensitive);
    cbxName->completer()->setCompletionMode(QCompleter::PopupCompletion);
    auto *lblName = new QLabel(QStringLiteral("操作员姓名(&N)："));
    lblName->setBuddy(cbxName);
    auto *actRemember = new QAction(QIcon(QStringLiteral(":/image/Users.png")),
                                    QStringLiteral("记忆当前用户"), cbxName);
    connect(actRemember, &QAction::triggered, this, &frmLogin::rememberUser);
    auto *actForget = new QAction(QIcon(QStringLiteral(":/image/delete.png")),
                                  QStringLiteral("忘记当前用户"), cbxName);
    connect(actForget, &QAction::triggered, this, &frmLogin::forgetUser);
    cbxName->addAction(actRemember);
    cbxName->addAction(actForget);
    cbxName->setContextMenuPolicy(Qt::ActionsContextMenu);
    // The editable combo's own line edit would show its default menu instead.
    cbxName->lineEdit()->setContextMenuPolicy(Qt::NoContextMenu);

    linPassword = new QLineEdit;
    linPassword->setEchoMode(QLineEdit::Password);
    auto *lblPassword = new QLabel(QStringLiteral("操作员密码(&P)："));
    lblPassword->setBuddy(linPassword);

    btLogin = new QPushButton(QStringLiteral("登录(&L)"));
    auto *btExit = new QPushButton(QStringLiteral("退出(&E)"));
    connect(btLogin, &QPushButton::clicked, this, &frmLogin::btLoginClicked);
    connect(btExit, &QPushButton::clicked, this, [this] { m_host->closeForm(this); });

    auto *grid = new QGridLayout;
    grid->addWidget(lblServer, 0, 0);
    grid->addWidget(linServer, 0, 1);
    grid->addWidget(lblName, 1, 0);
    grid->addWidget(cbxName, 1, 1);
    grid->addWidget(lblPassword, 2, 0);
    grid->addWidget(linPassword, 2, 1);
    auto *buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(btLogin);
    buttons->addWidget(btExit);
    auto *layout = new QVBoxLayout(this);
    layout->addLayout(grid);
    layout->addLayout(buttons);

    auto settings = appSettings::open();
    m_autoStart = appSettings::value(*settings, appSettings::key::serverAutoStart).toBool();
    m_serverProgram = appSettings::value(*settings, appSettings::key::serverProgram).toString();
    linServer->setText(appSettings::value(*settings, appSettings::key::serverAddress).toString());
    const bool showServer = linServer->text().isEmpty();
    lblServer->setVisible(showServer);
    linServer->setVisible(showServer);
    settings->beginGroup(appSettings::group::loginUsers);
    cbxName->addItems(settings->childKeys());
    settings->endGroup();

    // Typing at once must land somewhere. With a remembered name already in
    // the name box the next thing to type is the password, and a password
    // typed into the name box would be shown in clear; with none, the name.
    // The main window gives the form the focus when it opens it.
    setFocusProxy(cbxName->currentText().isEmpty() ? static_cast<QWidget *>(cbxName) : linPassword);
}

void frmLogin::rememberUser()
{
    const QString name = cbxName->currentText();
    if (!name.isEmpty())
        appSettings::open()->setValue(appSettings::group::loginUsers + QLatin1Char('/') + name, 1);
}

void frmLogin::forgetUser()
{
    appSettings::open()->remove(appSettings::group::loginUsers + QLatin1Char('/') + cbxName->currentText());
}

void frmLogin::rememberServer()
{
    if (!linServer->text().isEmpty())
        appSettings::setValue(appSettings::key::serverAddress, linServer->text());
}

// On Linux the client reports 2002 both for a missing socket and for a TCP
// host with nothing listening; both mean no server answered.
static bool noServerAnswered(const QSqlError &error)
{
    const QString code = error.nativeErrorCode();
    return code == QLatin1String("2002") || code == QLatin1String("2003");
}

void frmLogin::waitForServer(QProcess *server)
{
    // The server program on Windows never exits, so a fixed wait was all one
    // could do there. Here the wait ends as soon as the server answers or the
    // start command is over (it failed, or it started the server in the
    // background and returned); the ceiling stays for a server that is slow.
    QElapsedTimer clock;
    clock.start();
    while (clock.elapsed() < serverStartWaitMs && server->state() != QProcess::NotRunning) {
        if (m_host->database().serverAnswers())
            return;
        if (server->waitForFinished(150))
            return;
        // Keep the window painted; clicks wait until the login is over.
        QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
    }
}

// A wrong name or password, and an empty name, read the same to the operator.
frmLogin::openResult frmLogin::refuseLogin()
{
    QApplication::beep();
    m_host->showStatus(QStringLiteral("登录失败，姓名或密码错误"), 2000);
    cbxName->setFocus();
    return openResult::Refused;
}

frmLogin::openResult frmLogin::attemptOpen()
{
    QSqlError error;
    if (m_host->database().open(&error))
        return openResult::Opened;
    if (error.nativeErrorCode() == QLatin1String("1045"))
        return refuseLogin();
    if (noServerAnswered(error))
        return openResult::NoServer;
    QApplication::beep();
    m_host->setMessage(error.text());
    cbxName->setFocus();
    return openResult::Refused;
}

void frmLogin::btLoginClicked()
{
    // The status bar is repainted during the server wait; a second login
    // started from there would start a second server and run the post-login
    // initialisation twice.
    if (m_loggingIn)
        return;
    m_loggingIn = true;
    const bool opened = openConnection() == openResult::Opened;
    m_loggingIn = false;
    // The post-login initialisation closes this form, which may then be
    // deleted before the call returns: nothing of it may be touched after.
    if (opened)
        m_host->afterLogin(QStringLiteral("zelnor"));
}

frmLogin::openResult frmLogin::openConnection()
{
    // The client library logs in as the operating-system user when the user
    // name is empty; an empty name must be refused like a wrong one instead.
    if (cbxName->currentText().isEmpty())
        return refuseLogin();
    const QString account = myTools::accountName(cbxName->currentText());

    // Each attempt starts from a fresh registration of the connection, so a
    // failed attempt leaves nothing half open.
    m_host->database().setAccount({linServer->text(), account, linPassword->text(), QStringLiteral("mysql")});

    m_host->setMessage(QString());
    openResult result = attemptOpen();
    if (result == openResult::NoServer) {
        if (linServer->text().toUpper() == QLatin1String("LOCALHOST") && m_autoStart) {
            m_host->showStatus(QStringLiteral("正在启动mysql数据库，请稍等……"), 3000);
            // Never destroyed: destroying the process object would kill the server.
            auto *server = new QProcess;
            const QStringList command = QProcess::splitCommand(m_serverProgram);
            if (!command.isEmpty()) {
                server->start(command.first(), command.mid(1));
                btLogin->setEnabled(false);
                waitForServer(server);
                btLogin->setEnabled(true);
            }
            if (server->state() != QProcess::NotRunning && server->processId() != 0)
                m_host->setServerProcess(server);
            result = attemptOpen();
            if (result == openResult::NoServer) {
                QApplication::beep();
                m_host->showStatus(QStringLiteral("偿试自启动数据库失败,请确认") + m_serverProgram, 90000);
            }
        } else {
            QApplication::beep();
            m_host->showStatus(QStringLiteral("登录失败，原因是Mysql数据库没有启动"), 9000);
        }
    }
    return result;
}
