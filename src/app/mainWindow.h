#ifndef MAINWINDOW_H
#define MAINWINDOW_H

#include <QDate>
#include <QMainWindow>
#include <QSqlDatabase>

class QAction;
class QLabel;
class QMdiArea;
class QProcess;
class QToolBar;

// The application's only top-level window. It owns the one database
// connection, the operator's identity and level, the actions whose enabling
// follows that level, and the server process this run may have started.
class mainWindow : public QMainWindow
{
    Q_OBJECT
public:
    explicit mainWindow(QWidget *parent = nullptr);
    ~mainWindow() override;

    // Services the forms read from their opener.
    QSqlDatabase &connection() { return m_db; }
    QString operatorName() const { return m_operatorName; }
    int level() const { return m_level; }
    QString region() const { return m_region; }
    QString company() const { return m_company; }
    QDate workDate() const { return m_workDate; }
    // The working date once logged in; before that, the clock's.
    QDate today() const { return m_workDate.isValid() ? m_workDate : QDate::currentDate(); }
    QLabel *messageLabel() const { return m_message; }
    QMdiArea *mdiArea() const { return m_mdi; }
    bool autoStop() const { return m_autoStop; }
    void setAutoStop(bool on) { m_autoStop = on; }

    // The login form records a server it started; only that one is stopped at exit.
    void setServerProcess(QProcess *process) { m_serverProcess = process; }
    QProcess *serverProcess() const { return m_serverProcess; }

    // Background of the MDI area (file, display flag, fill flag).
    QString backgroundFile() const { return m_bgFile; }
    bool backgroundDisplay() const { return m_bgDisplay; }
    bool backgroundFill() const { return m_bgFill; }
    void setBackground(const QString &file, bool display, bool fill);
    void applyBackground();

    void setLevel(int level);
    void applyLevel();

    // Post-login initialisation, called by the login form.
    void afterLogin(const QString &databaseName);

    // Adds a form to the MDI area, shows it and gives it the focus.
    void openForm(QWidget *form);
    // Closes a form together with its MDI frame; closing only the form would
    // leave the empty frame behind.
    static void closeForm(QWidget *form);

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

    QSqlDatabase m_db;
    int m_level = 10;
    QDate m_workDate;
    QString m_operatorName;
    QString m_region;
    QString m_company;
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
