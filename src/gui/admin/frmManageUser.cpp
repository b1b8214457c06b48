#include "frmManageUser.h"

#include "formHost.h"
#include "myDatabase.h"
#include "myTools.h"
#include "operatorAccounts.h"
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
#include <QSqlQuery>
#include <QStyle>
#include <QVBoxLayout>

static const QString separator = QStringLiteral("--");
// Item data: the account, its level as read back, and its rights beyond
// that level.
static constexpr int accountRole = Qt::UserRole;
static constexpr int levelRole = Qt::UserRole + 1;
static constexpr int excessRole = Qt::UserRole + 2;

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
    btNarrow = new QPushButton(QStringLiteral("收紧权限(&T)"));
    btNarrow->setToolTip(QStringLiteral("把标红的账户收回到其级别所需的权限，密码不变"));
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
    buttons->addWidget(btNarrow, 2, 0);
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
    connect(btNarrow, &QPushButton::clicked, this, &frmManageUser::btNarrowClicked);
    connect(lstUser, &QListWidget::itemSelectionChanged, this, &frmManageUser::lstboxSelectionChanged);
    connect(this, &frmManageUser::btAddEnableChange, this, &frmManageUser::btAddEnableChanged);

    QSqlQuery query = host->database().query();
    query.exec(QStringLiteral("SELECT User FROM mysql.db WHERE Db='") + m_database + QLatin1Char('\''));
    QStringList accounts;
    while (query.next())
        accounts << query.value(0).toString();
    for (const QString &account : accounts) {
        const int level = myTools::operatorLevel(host->database(), account, m_database);
        auto *item = new QListWidgetItem(myTools::displayName(account) + separator + cbxLevel->itemText(level - 1));
        item->setData(accountRole, account);
        item->setData(levelRole, level);
        lstUser->addItem(item);
    }
    // Accounts made by earlier installations hold the whole mysql schema (and
    // 浏览 ones write the business tables). Only root reads every account's
    // rights, and only root is offered to narrow them.
    const bool root = host->database().userName() == QLatin1String("root");
    btNarrow->setVisible(root);
    if (root)
        markExcess();
    else
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
    btNarrow->setEnabled(browsing && m_hasExcess);
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
    const bool adding = btSave->text().contains(QStringLiteral("确定增加"));
    const QString level = cbxLevel->currentText();
    const operatorAccounts::outcome result = adding
        ? operatorAccounts::add(m_host->database(), name, level, m_host->operatorName())
        : operatorAccounts::remove(m_host->database(), name, m_host->operatorName());
    if (!result.refusal.isEmpty()) {
        QApplication::beep();
        QMessageBox::warning(this, QStringLiteral("警告"), result.refusal);
        linName->setFocus();
        return;
    }
    if (result.changed) {
        if (adding) {
            auto *item = new QListWidgetItem(name + separator + level);
            item->setData(accountRole, myTools::accountName(name));
            item->setData(levelRole, 3 - operatorSql::levelTexts().indexOf(level));
            lstUser->addItem(item);
        } else {
            // The name in the edit is what was dropped, whichever line is selected.
            for (QListWidgetItem *item : lstUser->findItems(name + separator, Qt::MatchStartsWith))
                delete item;
        }
        backToBrowse();
    }
    // A refused statement, or a log row the server did not take after the
    // account was changed.
    if (!result.error.isEmpty())
        QMessageBox::critical(this, QStringLiteral("错误"), result.error, QMessageBox::Ok);
}

void frmManageUser::btNarrowClicked()
{
    QStringList narrowed; // an account with rights on several hosts is listed once for each
    QStringList failures;
    for (int row = 0; row < lstUser->count(); ++row) {
        QListWidgetItem *item = lstUser->item(row);
        const QString account = item->data(accountRole).toString();
        if (item->data(excessRole).toStringList().isEmpty() || narrowed.contains(account))
            continue;
        const QString name = item->text().left(item->text().indexOf(separator));
        const operatorAccounts::outcome result = operatorAccounts::narrow(
            m_host->database(), account, name, item->data(levelRole).toInt(), m_host->operatorName());
        if (result.error.isEmpty())
            narrowed << account;
        else
            failures << name + QStringLiteral("：") + result.error;
    }
    markExcess();
    if (!failures.isEmpty())
        QMessageBox::critical(this, QStringLiteral("错误"), failures.join(QLatin1Char('\n')), QMessageBox::Ok);
    else
        m_host->showStatus(QStringLiteral("已收紧%1个操作员的权限。").arg(narrowed.size()), 3000);
}

void frmManageUser::markExcess()
{
    bool any = false;
    for (int row = 0; row < lstUser->count(); ++row) {
        QListWidgetItem *item = lstUser->item(row);
        const int level = item->data(levelRole).toInt();
        const QStringList excess = level >= 1 && level <= 3
            ? operatorAccounts::excessRights(m_host->database(), item->data(accountRole).toString(), level, m_database)
            : QStringList();
        item->setData(excessRole, excess);
        if (excess.isEmpty()) {
            item->setData(Qt::ForegroundRole, QVariant());
            item->setIcon(QIcon());
            item->setToolTip(QString());
            continue;
        }
        any = true;
        // The text stays "name--level", which the selection reads.
        item->setData(Qt::ForegroundRole, QColor(Qt::darkRed));
        item->setIcon(style()->standardIcon(QStyle::SP_MessageBoxWarning));
        // Rich text, so that a long list of rights wraps inside the tip.
        item->setToolTip(QStringLiteral("<qt>此账户（登录后的级别：%1）的权限超出其级别所需：<br>")
                             .arg(myTools::levelName(level))
                         + excess.join(QLatin1Char('\n')).toHtmlEscaped().replace(QLatin1Char('\n'), QStringLiteral("<br>"))
                         + QStringLiteral("<br>请点“收紧权限”收回多余的权限（密码不变）。</qt>"));
    }
    m_hasExcess = any;
    btAddEnableChanged();
}
