#include "maintenanceProgress.h"

#include "backupEngine.h"

#include <QProgressDialog>
#include <QPushButton>

maintenanceProgress::maintenanceProgress(backupEngine *engine, QWidget *window)
    : QObject(engine), m_engine(engine)
{
    m_dialog = new QProgressDialog(window);
    m_dialog->setWindowTitle(QStringLiteral("数据维护"));
    m_dialog->setWindowModality(Qt::WindowModal);
    m_dialog->setAutoClose(false);
    m_dialog->setAutoReset(false);
    m_dialog->setMinimumDuration(0);
    m_dialog->setRange(0, 0);
    m_dialog->setCancelButtonText(QStringLiteral("取消"));
    m_dialog->setMinimumWidth(420);
    // QProgressDialog closes itself on 取消; the job decides whether it can
    // stop, and the dialog goes only when the job has ended.
    disconnect(m_dialog, &QProgressDialog::canceled, m_dialog, &QProgressDialog::cancel);
    connect(m_dialog, &QProgressDialog::canceled, engine, &backupEngine::cancel);
    connect(engine, &backupEngine::stageChanged, this,
            [this](backupEngine::stage, const QString &text) { stageChanged(text); });
    connect(engine, &backupEngine::progress, this, &maintenanceProgress::progressed);
    // Gone for good when the job ends: a hidden QProgressDialog shows itself
    // again on its own timer.
    connect(engine, &backupEngine::finished, this, [this] {
        delete m_dialog;
        m_dialog = nullptr;
    });
    m_dialog->show();
}

maintenanceProgress::~maintenanceProgress() { delete m_dialog; }

void maintenanceProgress::stageChanged(const QString &text)
{
    if (!m_dialog)
        return;
    m_dialog->setLabelText(text);
    // A restore that has begun loading cannot be stopped: a half-loaded
    // database is worse than a finished one.
    if (QPushButton *cancel = m_dialog->findChild<QPushButton *>())
        cancel->setEnabled(m_engine->canCancel());
}

void maintenanceProgress::progressed(qint64 done, qint64 total)
{
    if (!m_dialog)
        return;
    // The dialog counts in int: whole mebibytes keep files of any size in range.
    const int mib = 1 << 20;
    if (total > 0) {
        m_dialog->setRange(0, int(total / mib) + 1);
        m_dialog->setValue(int(qMin(done, total) / mib));
    } else {
        m_dialog->setRange(0, 0);
    }
    if (QPushButton *cancel = m_dialog->findChild<QPushButton *>())
        cancel->setEnabled(m_engine->canCancel());
}
