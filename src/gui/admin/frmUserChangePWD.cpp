#include "frmUserChangePWD.h"

#include "formHost.h"
#include "myDatabase.h"
#include "operatorSql.h"
#include "sqlText.h"

#include <QApplication>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QSqlError>
#include <QSqlQuery>
#include <QVBoxLayout>

frmUserChangePWD::frmUserChangePWD(formHost *host, QWidget *parent)
    : QWidget(parent), m_host(host)
{
    setWindowTitle(QStringLiteral("操作员修改密码"));
    setAttribute(Qt::WA_DeleteOnClose);

    auto *grid = new QGridLayout;
    auto addRow = [grid](const QString &label, QLineEdit *edit) {
        auto *lbl = new QLabel(label);
        lbl->setBuddy(edit);
        edit->setEchoMode(QLineEdit::Password);
        const int row = grid->rowCount();
        grid->addWidget(lbl, row, 0);
        grid->addWidget(edit, row, 1);
    };
    linOld = new QLineEdit;
    linNew = new QLineEdit;
    linConfirm = new QLineEdit;
    addRow(QStringLiteral("原 密 码(&O)："), linOld);
    addRow(QStringLiteral("新 密 码(&N)："), linNew);
    addRow(QStringLiteral("确认密码(&R)："), linConfirm);
    btYes = new QPushButton(QStringLiteral("确认(&L)"));
    auto *btExit = new QPushButton(QStringLiteral("退出(&E)"));
    auto *buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(btYes);
    buttons->addWidget(btExit);
    auto *layout = new QVBoxLayout(this);
    layout->addLayout(grid);
    layout->addLayout(buttons);

    linNew->setEnabled(false);
    linConfirm->setEnabled(false);
    btYes->setEnabled(false);

    connect(btYes, &QPushButton::clicked, this, &frmUserChangePWD::btYesClicked);
    connect(btExit, &QPushButton::clicked, this, &frmUserChangePWD::btExitClicked);
    connect(linOld, &QLineEdit::editingFinished, this, &frmUserChangePWD::oldPasswordChecked);
    connect(linNew, &QLineEdit::editingFinished, this, &frmUserChangePWD::btYesSetEnable);
    connect(linConfirm, &QLineEdit::editingFinished, this, &frmUserChangePWD::btYesSetEnable);
}

bool frmUserChangePWD::oldPasswordRight() const { return linOld->text() == m_host->database().password(); }

void frmUserChangePWD::oldPasswordChecked()
{
    const bool same = oldPasswordRight();
    // Enabled before the focus moves, or the move would skip the new field.
    linNew->setEnabled(same);
    linConfirm->setEnabled(same);
    if (same) {
        linNew->setFocus();
    } else {
        // The old password retyped wrong after the new ones were entered
        // must not leave 确认 usable.
        btYes->setEnabled(false);
        QApplication::beep();
    }
}

void frmUserChangePWD::btYesSetEnable() { btYes->setEnabled(true); }

void frmUserChangePWD::btYesClicked()
{
    myDatabase &db = m_host->database();
    if (!oldPasswordRight()) {
        oldPasswordChecked();
        linOld->setFocus();
        return;
    }
    if (!db.reopen())
        return;
    if (linNew->text() != linConfirm->text()) {
        QMessageBox::critical(this, QStringLiteral("警告"), QStringLiteral("两次密码不一致，请重新输入！"));
        linNew->setFocus();
        QApplication::beep();
        return;
    }
    const QString password = linNew->text();
    if (!sqlText::fitsConnection(password)) {
        QMessageBox::critical(this, QStringLiteral("警告"),
                              QStringLiteral("新密码中有数据库无法保存的字（生僻字或表情符号），请换一个密码。"));
        linNew->setFocus();
        QApplication::beep();
        return;
    }
    QSqlQuery query = db.query();
    if (!query.exec(operatorSql::setPasswordSql(db.userName(), db.hostName(), password))) {
        QMessageBox::critical(this, QStringLiteral("错误"), query.lastError().text());
        return;
    }
    // A later reopen (any form's open-or-report) must use the new password.
    db.setPassword(password);
    m_host->showStatus(QStringLiteral(" 密码修改成功！"), 2000);
    btYes->setEnabled(false);
}

void frmUserChangePWD::btExitClicked() { m_host->closeForm(this); }
