#include "frmManageUser.h"

#include "formHost.h"
#include "myDatabase.h"
#include "myTools.h"
#include "operationLog.h"
#include "operatorSql.h"

#include <QApplication>
#include <QComboBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMessageBox>
#include <QPushButton>
#include <QSqlError>
#include <QSqlQuery>
#include <QVBoxLayout>

static const QString separator = QStringLiteral("--");

frmManageUser::frmManageUser(formHost *host, QWidget *parent)
    : QWidget(parent), m_host(host), m_database(host->database().databaseName())
{
    setWindowTitle(QStringLiteral("操作员管理"));
    setAttribute(Qt::WA_DeleteOnClose);

    lstUser = new QListWidget;
    linName = new QLineEdit;
    auto *lblName = new QLabel(QStringLiteral("操作员姓名："));
    lblName->setBuddy(linName);
    cbxLevel = new QComboBox;
    cbxLevel->addItems(operatorSql::levelTexts());
    auto *lblLevel = new QLabel(QStringLiteral("操作员权限："));
    lblLevel->setBuddy(cbxLevel);

    btAdd = new QPushButton(QStringLiteral("增加(&A)"));
    btDele = new QPushButton(QStringLiteral("删除(&D")); // the missing ")" is the caption users know
    btSave = new QPushButton(QStringLiteral("确定(&S)"));
    btCancel = new QPushButton(QStringLiteral("放弃(&C)"));
    auto *btExit = new QPushButton(QStringLiteral("退出(&E)"));
    auto *lblNote = new QLabel(QStringLiteral("     说明：新增操作员，初始密\t\n  码为“") + operatorSql::initialPassword()
                         + QStringLiteral("”"));

    auto *fields = new QGridLayout;
    fields->addWidget(lblName, 0, 0);
    fields->addWidget(linName, 0, 1);
    fields->addWidget(lblLevel, 1, 0);
    fields->addWidget(cbxLevel, 1, 1);
    auto *buttons = new QGridLayout;
    buttons->addWidget(btAdd, 0, 0);
    buttons->addWidget(btDele, 0, 1);
    buttons->addWidget(btSave, 1, 0);
    buttons->addWidget(btCancel, 1, 1);
    buttons->addWidget(btExit, 2, 1);
    auto *right = new QVBoxLayout;
    right->addLayout(fields);
    right->addSpacing(12);
    right->addLayout(buttons);
    right->addStretch();
    right->addWidget(lblNote);
    auto *layout = new QHBoxLayout(this);
    layout->addWidget(lstUser, 1);
    layout->addLayout(right);

    connect(btExit, &QPushButton::clicked, this, &frmManageUser::btExitClicked);
    connect(btAdd, &QPushButton::clicked, this, &frmManageUser::btAddClicked);
    connect(btDele, &QPushButton::clicked, this, &frmManageUser::btDeleClicked);
    connect(btSave, &QPushButton::clicked, this, &frmManageUser::btSaveClicked);
    connect(btCancel, &QPushButton::clicked, this, &frmManageUser::btCancelClicked);
    connect(lstUser, &QListWidget::itemSelectionChanged, this, &frmManageUser::lstboxSelectionChanged);
    connect(this, &frmManageUser::btAddEnableChange, this, &frmManageUser::btAddEnableChanged);

    QSqlQuery query = host->database().query();
    query.exec(QStringLiteral("SELECT User FROM mysql.db WHERE Db='") + m_database + QLatin1Char('\''));
    QStringList accounts;
    while (query.next())
        accounts << query.value(0).toString();
    for (const QString &account : accounts) {
        const int level = myTools::operatorLevel(host->database(), account, m_database);
        lstUser->addItem(myTools::displayName(account) + separator + cbxLevel->itemText(level - 1));
    }
    btAddEnableChanged();
}

void frmManageUser::btExitClicked() { m_host->closeForm(this); }

void frmManageUser::btAddClicked()
{
    btSave->setText(QStringLiteral("确定增加(&S)"));
    btAdd->setEnabled(false);
    emit btAddEnableChange();
    linName->clear();
    linName->setFocus();
}

void frmManageUser::btDeleClicked()
{
    if (linName->text().isEmpty()) {
        QApplication::beep();
        return;
    }
    btSave->setText(QStringLiteral("确定删除(&S)"));
    btAdd->setEnabled(false);
    emit btAddEnableChange();
}

void frmManageUser::btCancelClicked() { backToBrowse(); }

void frmManageUser::backToBrowse()
{
    btSave->setText(QStringLiteral("确定(&S)"));
    btAdd->setEnabled(true);
    emit btAddEnableChange();
}

void frmManageUser::btAddEnableChanged()
{
    const bool browsing = btAdd->isEnabled();
    btDele->setEnabled(browsing);
    btSave->setEnabled(!browsing);
    btCancel->setEnabled(!browsing);
    linName->setEnabled(!browsing);
    cbxLevel->setEnabled(!browsing);
}

void frmManageUser::lstboxSelectionChanged()
{
    QListWidgetItem *item = lstUser->currentItem();
    if (!item) {
        linName->clear();
        return;
    }
    const QString text = item->text();
    const int at = text.indexOf(separator);
    linName->setText(text.left(at));
    // The shown label, not the granted level, goes into the box.
    const int index = cbxLevel->findText(text.mid(at + separator.size()), Qt::MatchExactly);
    if (index >= 0)
        cbxLevel->setCurrentIndex(index);
}

void frmManageUser::btSaveClicked()
{
    const QString name = linName->text();
    if (name.isEmpty())
        return;
    const QString account = myTools::accountName(name);
    const bool adding = btSave->text().contains(QStringLiteral("确定增加"));
    const QString level = cbxLevel->currentText();

    QStringList statements;
    if (adding) {
        statements = operatorSql::grantStatements(account, level, m_database);
        statements << operationLog::insertSql(m_host->operatorName(), QStringLiteral("增加用户：") + name);
    } else {
        statements << operationLog::insertSql(m_host->operatorName(), QStringLiteral("删除用户：") + name)
                   << operatorSql::dropStatement(account);
    }

    QSqlError error;
    if (!m_host->database().runInTransaction(statements, &error)) {
        // GRANT and DROP USER commit on their own: a statement that worked
        // before the failing one stays in effect.
        QMessageBox::critical(this, QStringLiteral("错误"), error.text(), QMessageBox::Ok);
        return;
    }
    if (adding) {
        lstUser->addItem(name + separator + level);
    } else {
        delete lstUser->currentItem();
    }
    backToBrowse();
}
