#include "frmManageServer.h"

#include "appSettings.h"
#include "formHost.h"

#include <QCheckBox>
#include <QFileDialog>
#include <QGridLayout>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QScreen>
#include <QStyle>
#include <QVBoxLayout>

frmManageServer::frmManageServer(shellHost *host, QWidget *parent)
    : QWidget(parent), m_host(host)
{
    setWindowTitle(QStringLiteral("配置服务器"));
    setAttribute(Qt::WA_DeleteOnClose);

    rbLocal = new QRadioButton(QStringLiteral("本机(&L)"));
    rbRemote = new QRadioButton(QStringLiteral("远程(&N)"));
    linAddress = new QLineEdit;
    auto *lblAddress = new QLabel(QStringLiteral("地址："));
    lblAddress->setBuddy(linAddress);
    linFile = new QLineEdit;
    auto *lblFile = new QLabel(QStringLiteral("文件："));
    lblFile->setBuddy(linFile);
    btSelectFile = new QPushButton(QStringLiteral("选择mysqld.exe文件"));
    chkAutoStart = new QCheckBox(QStringLiteral("随程序启动"));
    chkAutoStop = new QCheckBox(QStringLiteral("随程序关闭"));
    btSave = new QPushButton(QStringLiteral("保存(&S)"));
    auto *btExit = new QPushButton(QStringLiteral("退出(&E)"));

    auto *grid = new QGridLayout;
    auto *where = new QHBoxLayout;
    where->addWidget(rbLocal);
    where->addWidget(rbRemote);
    where->addStretch();
    grid->addLayout(where, 0, 1);
    grid->addWidget(lblAddress, 1, 0);
    grid->addWidget(linAddress, 1, 1);
    grid->addWidget(lblFile, 2, 0);
    grid->addWidget(linFile, 2, 1);
    auto *fileRow = new QHBoxLayout;
    fileRow->addStretch();
    fileRow->addWidget(btSelectFile);
    grid->addLayout(fileRow, 3, 1);
    auto *checks = new QHBoxLayout;
    checks->addWidget(chkAutoStart);
    checks->addWidget(chkAutoStop);
    checks->addStretch();
    grid->addLayout(checks, 4, 1);
    auto *buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(btSave);
    buttons->addWidget(btExit);
    auto *layout = new QVBoxLayout(this);
    layout->addLayout(grid);
    layout->addStretch();
    layout->addLayout(buttons);

    {
        const auto settings = appSettings::open();
        linAddress->setText(appSettings::value(*settings, appSettings::key::serverAddressProposed).toString());
        linFile->setText(appSettings::value(*settings, appSettings::key::serverProgramProposed).toString());
        chkAutoStart->setChecked(appSettings::value(*settings, appSettings::key::serverAutoStart).toBool());
        chkAutoStop->setChecked(appSettings::value(*settings, appSettings::key::serverAutoStop).toBool());
    }
    fitFileField();
    if (linAddress->text().toUpper() == QLatin1String("LOCALHOST"))
        rbLocal->setChecked(true);
    else
        rbRemote->setChecked(true);
    localHandle();
    btSave->setEnabled(false);

    connect(btExit, &QPushButton::clicked, this, &frmManageServer::btExitClicked);
    connect(btSave, &QPushButton::clicked, this, &frmManageServer::btSaveClicked);
    connect(rbLocal, &QRadioButton::clicked, this, &frmManageServer::localHandle);
    connect(rbRemote, &QRadioButton::clicked, this, &frmManageServer::localHandle);
    connect(btSelectFile, &QPushButton::clicked, this, &frmManageServer::btSelectFileClicked);
    connect(chkAutoStart, &QCheckBox::stateChanged, this, &frmManageServer::setBtSaveEnabeld);
    connect(chkAutoStop, &QCheckBox::stateChanged, this, &frmManageServer::setBtSaveEnabeld);
    connect(linFile, &QLineEdit::textChanged, this, &frmManageServer::setBtSaveEnabeld);
    connect(linFile, &QLineEdit::textChanged, this, [this] { linFile->setToolTip(linFile->text()); });
}

void frmManageServer::fitFileField()
{
    // The command that starts the server is often a long path with its
    // arguments (a script, its data folder); a field that shows only its end
    // hides which server would start. The field is as wide as the stored
    // command needs, within most of the screen, and its tooltip holds the
    // whole text for one that is longer still or typed later.
    const QFontMetrics metrics(linFile->font());
    const int frame = 2 * linFile->style()->pixelMetric(QStyle::PM_DefaultFrameWidth, nullptr, linFile);
    const int wanted = metrics.horizontalAdvance(linFile->text()) + frame + 2 * metrics.averageCharWidth();
    const QScreen *screen = QGuiApplication::primaryScreen();
    const int most = screen ? screen->availableGeometry().width() * 3 / 4 : 800;
    linFile->setMinimumWidth(qBound(280, wanted, most));
    linFile->setToolTip(linFile->text());
    // Where it is longer still, the program's name at its start is what
    // tells one server from another; its arguments are in the tooltip.
    linFile->setCursorPosition(0);
}

void frmManageServer::btExitClicked() { m_host->closeForm(this); }

void frmManageServer::btSaveClicked()
{
    {
        const auto settings = appSettings::open();
        appSettings::setValue(*settings, appSettings::key::serverAddress, linAddress->text());
        appSettings::setValue(*settings, appSettings::key::serverProgram, linFile->text());
        appSettings::setValue(*settings, appSettings::key::serverAutoStart, chkAutoStart->isChecked());
        appSettings::setValue(*settings, appSettings::key::serverAutoStop, chkAutoStop->isChecked());
    }
    m_host->setAutoStop(chkAutoStop->isChecked());
    btSave->setEnabled(false);
}

void frmManageServer::localHandle()
{
    const bool local = rbLocal->isChecked();
    if (local)
        linAddress->setText(QStringLiteral("localhost"));
    linFile->setEnabled(local);
    chkAutoStart->setEnabled(local);
    chkAutoStop->setEnabled(local);
    btSave->setEnabled(true);
}

void frmManageServer::setBtSaveEnabeld() { btSave->setEnabled(true); }

void frmManageServer::btSelectFileClicked()
{
    // Cancelling gives an empty name, which empties the field on purpose:
    // that is how an operator clears the server program.
    linFile->setText(QFileDialog::getOpenFileName(this, QStringLiteral("选择MYSQL服务器文件："),
                                                  QStringLiteral("."), QStringLiteral("mysqld.exe")));
}
