#include "frmClearData.h"
#include "formHost.h"
#include "myDatabase.h"
#include "operationLog.h"

#include <QDateEdit>
#include <QHBoxLayout>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QVBoxLayout>

frmClearData::frmClearData(formHost *host, QWidget *parent)
    : QWidget(parent), m_host(host)
{
    setWindowTitle(QStringLiteral("清理业务数据"));

    m_date = new QDateEdit;
    m_date->setDisplayFormat(QStringLiteral("yyyy-MM-dd"));
    m_date->setCalendarPopup(true);
    m_date->setDate(QDate(host->today().year() - 3, 12, 31));
    auto *label = new QLabel(QStringLiteral("日期(&D):"));
    label->setBuddy(m_date);
    // The delete keeps rows of the chosen day itself although the note says
    // "含"; offices know the dialog by this wording.
    auto *note = new QLabel(QStringLiteral("--将删除日期（含）之前数据"));

    m_yes = new QPushButton(QStringLiteral("确定(&Y)"));
    auto *exit = new QPushButton(QStringLiteral("退出(&E)"));

    auto *dateRow = new QHBoxLayout;
    dateRow->addWidget(label);
    dateRow->addWidget(m_date);
    dateRow->addWidget(note);
    dateRow->addStretch();
    auto *buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(m_yes);
    buttons->addWidget(exit);
    auto *layout = new QVBoxLayout(this);
    layout->addLayout(dateRow);
    layout->addStretch();
    layout->addLayout(buttons);

    connect(m_date, &QDateEdit::dateChanged, this, &frmClearData::clearSigns);
    connect(m_yes, &QPushButton::clicked, this, &frmClearData::btYesClicked);
    connect(exit, &QPushButton::clicked, this, &frmClearData::btExitClicked);
}

void frmClearData::btExitClicked()
{
    m_host->closeForm(this);
}

void frmClearData::btYesClicked()
{
    const QString date = m_date->date().toString(QStringLiteral("yyyy-MM-dd"));
    QSqlError error;
    if (m_host->database().runInTransaction(
            {QStringLiteral("DELETE FROM lease WHERE 登记日期<'") + date + QLatin1Char('\''),
             operationLog::insertSql(m_host->operatorName(),
                                     QStringLiteral("清理") + date + QStringLiteral("之前业务数据"))},
            &error)) {
        // A second run on the same date would only add a log row.
        m_yes->setEnabled(false);
        m_host->showStatus(QStringLiteral("数据清理OK"), 2000);
    } else {
        QMessageBox::critical(this, QStringLiteral("错误"), error.text());
        m_yes->setEnabled(true);
    }
}

void frmClearData::clearSigns()
{
    m_yes->setEnabled(true);
}
