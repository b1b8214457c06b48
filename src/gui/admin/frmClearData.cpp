#include "frmClearData.h"
#include "backupEngine.h"
#include "formHost.h"
#include "myDatabase.h"

#include <QDateEdit>
#include <QHBoxLayout>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QTimer>
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
    // What one click would remove, counted before it runs.
    m_count = new QLabel;
    m_count->setObjectName(QStringLiteral("clearingCount"));
    m_counting = new QTimer(this);
    m_counting->setSingleShot(true);
    m_counting->setInterval(300); // a date typed digit by digit is counted once
    connect(m_counting, &QTimer::timeout, this, &frmClearData::countRegistrations);

    m_yes = new QPushButton(QStringLiteral("确定(&Y)"));
    auto *exit = new QPushButton(QStringLiteral("退出(&E)"));

    auto *dateRow = new QHBoxLayout;
    dateRow->addWidget(label);
    dateRow->addWidget(m_date);
    dateRow->addWidget(note);
    dateRow->addStretch();
    auto *countRow = new QHBoxLayout;
    countRow->addWidget(m_count);
    countRow->addStretch();
    auto *buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(m_yes);
    buttons->addWidget(exit);
    auto *layout = new QVBoxLayout(this);
    layout->addLayout(dateRow);
    layout->addLayout(countRow);
    layout->addStretch();
    layout->addLayout(buttons);

    connect(m_date, &QDateEdit::dateChanged, this, &frmClearData::clearSigns);
    connect(m_date, &QDateEdit::dateChanged, m_counting, qOverload<>(&QTimer::start));
    countRegistrations();
    connect(m_yes, &QPushButton::clicked, this, &frmClearData::btYesClicked);
    connect(exit, &QPushButton::clicked, this, &frmClearData::btExitClicked);
}

void frmClearData::btExitClicked()
{
    m_host->closeForm(this);
}

void frmClearData::countRegistrations()
{
    m_counting->stop();
    QString problem;
    const qint64 count = backupEngine::clearingCount(m_host->database(), m_date->date(), &problem);
    m_count->setText(count < 0 ? QStringLiteral("（无法统计将删除的登记数）")
                               : QStringLiteral("将删除 %1 条登记（登记日期在 %2 之前）")
                                     .arg(count)
                                     .arg(m_date->date().toString(QStringLiteral("yyyy-MM-dd"))));
}

void frmClearData::btYesClicked()
{
    // Still one click: the automatic backup taken first is the way back.
    backupEngine *engine = m_host->startMaintenance();
    if (!engine)
        return;
    m_yes->setEnabled(false);
    connect(engine, &backupEngine::finished, this, [this, engine](bool ok, const QString &message) {
        if (ok) {
            // A second run on the same date would only add a log row.
            m_host->showStatus(QStringLiteral("数据清理OK"), 2000);
            QMessageBox::information(this, QStringLiteral("信息"), message);
        } else {
            m_yes->setEnabled(true);
            if (engine->cancelRequested())
                QMessageBox::information(this, QStringLiteral("信息"), message);
            else
                QMessageBox::critical(this, QStringLiteral("错误"), message);
        }
        countRegistrations();
    });
    engine->startClearing(m_date->date(), m_host->operatorName());
}

void frmClearData::clearSigns()
{
    m_yes->setEnabled(true);
}
