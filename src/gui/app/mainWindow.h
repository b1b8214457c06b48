#ifndef MAINWINDOW_H
#define MAINWINDOW_H

#include "formHost.h"
#include "messageBoxReporter.h"
#include "myDatabase.h"

#include <QDate>
#include <QMainWindow>

class QAction;
class QLabel;
class QMdiArea;
class QProcess;
class QToolBar;

// The application's only top-level window. It owns the connection's owner,
// the operator's identity and level, the actions whose enabling follows that
// level, and the server process this run may have started. It is the only
// place that knows the forms: they see it through formHost.
class mainWindow : public QMainWindow, public shellHost
{
    Q_OBJECT
public:
    explicit mainWindow(QWidget *parent = nullptr);
    ~mainWindow() override;

    // formHost
    myDatabase &database() override { return m_database; }
    QString operatorName() const override { return m_operatorName; }
    QString region() const override { return m_region; }
    QString company() const override { return m_company; }
    QDate workDate() const override { return m_workDate; }
    QDate today() const override { return m_workDate.isValid() ? m_workDate : QDate::currentDate(); }
    void showStatus(const QString &text, int timeoutMs = 0) override;
    void setMessage(const QString &text) override;
    void openForm(QWidget *form) override;
    // Closing only the form would leave its empty MDI frame behind.
    void closeForm(QWidget *form) override;
    void openRegistration(const QString &number) override;
    backupEngine *startMaintenance() override;

    // shellHost
    void afterLogin(const QString &databaseName) override;
    // Only a server this run started is stopped at exit.
    void setServerProcess(QProcess *process) override { m_serverProcess = process; }
    void setAutoStop(bool on) override { m_autoStop = on; }
    QString backgroundFile() const override { return m_bgFile; }
    bool backgroundDisplay() const override { return m_bgDisplay; }
    bool backgroundFill() const override { return m_bgFill; }
    void setBackground(const QString &file, bool display, bool fill) override;
    void applyBackground() override;

    int level() const { return m_level; }
    QLabel *messageLabel() const { return m_message; }
    QMdiArea *mdiArea() const { return m_mdi; }
    bool autoStop() const { return m_autoStop; }
    QProcess *serverProcess() const { return m_serverProcess; }
    // A backup, restore or clearing runs (on its own thread).
    bool maintenanceRunning() const;

    void setLevel(int level);
    void applyLevel();

public slots:
    void slotRegisterLease();
    void slotViewLease();
    void slotSearchLease();
    void slotBackupData();
    void slotRestoreData();
    void slotClearData();
    void slotViewLog();
    void slotClearLog();
    void slotUserChangePWD();
    void slotManageUser();
    void slotSetPrice();
    void slotSetField();
    void slotSetPrintItem();
    void slotManageSelectedItem();
    void slotSetBackground();
    void slotManageServer();
    void slotHelp();
    void slotAbout();
    void saveToolBarsState();

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void closeEvent(QCloseEvent *event) override;

private:
    QAction *makeAction(const QString &text, const QString &icon, const QString &shortcut,
                        void (mainWindow::*slot)(), int levelNumber);
    void createActions();
    void createMenus();
    void createToolBar();
    void createStatusBar();
    void readSettings();
    // A plain widget (log table, help text) in a sub-window of a fixed size.
    void showFixedWindow(QWidget *content, const QString &title, const QSize &size);
    void stopStartedServer();
    // Asks a supervisor for the region code when the settings hold no valid
    // one; anyone else is told and cannot register until it is set.
    void checkRegion();
    void repairSchema();
    void reportMaintenance(class backupEngine *engine, const QString &done, int doneMs);
    // Whether the server answers (reconnecting after a restart); tells the
    // operator when it does not.
    bool serverReachable();
    template <typename Form>
    void openDatabaseForm();
    // The layout editor's preview and calibration, following its edits.
    void openPrintPreview(class frmSetPrintItem *editor);
    void openPrintCalibration(class frmSetPrintItem *editor);

    myDatabase m_database;
    messageBoxReporter m_reporter;
    int m_level = 10;
    QDate m_workDate;
    QString m_operatorName;
    QString m_region;
    QString m_company;
    bool m_regionSet = false;
    QString m_bgFile;
    bool m_bgDisplay = false;
    bool m_bgFill = true;
    bool m_autoStop = false;
    QProcess *m_serverProcess = nullptr;

    QMdiArea *m_mdi = nullptr;
    QToolBar *m_toolBar = nullptr;
    QLabel *m_message = nullptr;
    QLabel *m_dateLabel = nullptr;
    QLabel *m_operatorLabel = nullptr;
    QLabel *m_levelLabel = nullptr;

    QAction *actRegisterLease, *actViewLease, *actSearchLease, *actExit, *actBackupData,
        *actRestoreData, *actClearData, *actViewLog, *actClearLog, *actUserChangePWD,
        *actManageUser, *actSetField, *actManageSelectedItem, *actSetPrice, *actSetPrintItem,
        *actSetBackground, *actManageServer, *actAbout, *actHelp;
};

#endif
