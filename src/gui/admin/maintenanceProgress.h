#ifndef MAINTENANCEPROGRESS_H
#define MAINTENANCEPROGRESS_H

#include <QObject>

class QProgressDialog;
class QWidget;
class backupEngine;

// The progress of a backup, restore or clearing, shown while the job runs
// on its own thread: the stage in words, how far it is (bytes of the dump or
// the file), and 取消 only while the job can still be stopped. Window-modal,
// so the window keeps painting while no second maintenance action can be
// started from it. Closes itself when the job ends.
class maintenanceProgress : public QObject
{
    Q_OBJECT
public:
    maintenanceProgress(backupEngine *engine, QWidget *window);
    ~maintenanceProgress() override;

private:
    void stageChanged(const QString &text);
    void progressed(qint64 done, qint64 total);

    backupEngine *m_engine;
    QProgressDialog *m_dialog;
};

#endif
