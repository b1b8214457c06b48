#include "mainWindow.h"

#include "appSettings.h"
#include "backupEngine.h"
#include "dataBackup.h"
#include "desktopFit.h"
#include "firstRun.h"
#include "frmClearData.h"
#include "frmLogin.h"
#include "frmManageSelectedItem.h"
#include "frmManageServer.h"
#include "frmManageUser.h"
#include "frmPrintCalibration.h"
#include "frmPrintPreview.h"
#include "frmRegisterLease.h"
#include "frmSearchLease.h"
#include "frmSetBackground.h"
#include "frmSetField.h"
#include "frmSetPrintItem.h"
#include "frmSetRegion.h"
#include "frmUserChangePWD.h"
#include "frmViewLease.h"
#include "gbText.h"
#include "installPaths.h"
#include "maintenanceProgress.h"
#include "myTableView.h"
#include "myTools.h"
#include "operationLog.h"
#include "reporter.h"
#include "schemaRepair.h"

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QFileDialog>
#include <QHeaderView>
#include <QInputDialog>
#include <QKeyEvent>
#include <QLabel>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenuBar>
#include <QMessageBox>
#include <QProcess>
#include <QSqlError>
#include <QSqlQueryModel>
#include <QStatusBar>
#include <QStyle>
#include <QTextEdit>
#include <QToolBar>

// The images are compiled into the static core library, and nothing there
// refers to their registration: without this call the linker drops it.
static void initResources() { Q_INIT_RESOURCE(zelnor); }

mainWindow::mainWindow(QWidget *parent)
    : QMainWindow(parent)
{
    initResources();
    // From here on the core's reports (a lost connection, a number too large
    // to print in words) reach the operator as message boxes.
    reporter::install(&m_reporter);
    setWindowTitle(QStringLiteral("Zelnor"));
    setWindowIcon(QIcon(QStringLiteral(":/image/zelnor.ico")));
    m_mdi = new QMdiArea(this);
    setCentralWidget(m_mdi);

    createActions();
    createMenus();
    createToolBar();
    createStatusBar();

    setLevel(10);
    // Before anything reads it: an unreadable file is moved aside, and the
    // operator learns why the program starts from its defaults.
    const QString damaged = appSettings::setAsideIfUnreadable();
    readSettings();
    applyBackground();

    openForm(new frmLogin(this));
    if (!damaged.isEmpty())
        QMessageBox::warning(this, QStringLiteral("警告"),
                             QStringLiteral("设置文件无法读取，已改名保存为“%1”。程序使用默认设置，"
                                            "登录后请重新设置地区代码、服务器和打印控制。")
                                 .arg(damaged));
}

mainWindow::~mainWindow()
{
    if (reporter::installed() == &m_reporter)
        reporter::install(nullptr);
}

QAction *mainWindow::makeAction(const QString &text, const QString &icon, const QString &shortcut,
                                void (mainWindow::*slot)(), int levelNumber)
{
    auto *action = new QAction(text, this);
    if (!icon.isEmpty())
        action->setIcon(QIcon(icon));
    if (!shortcut.isEmpty())
        action->setShortcut(QKeySequence(shortcut));
    if (levelNumber != 0)
        action->setData(levelNumber);
    connect(action, &QAction::triggered, this, slot);
    return action;
}

void mainWindow::createActions()
{
    actRegisterLease = makeAction(QStringLiteral("登记备案"), QStringLiteral(":/image/tomboy.png"),
                                  QStringLiteral("F2"), &mainWindow::slotRegisterLease, 2);
    actViewLease = makeAction(QStringLiteral("浏览查询"), QStringLiteral(":/image/view.bmp"),
                              QStringLiteral("F3"), &mainWindow::slotViewLease, 3);
    actSearchLease = makeAction(QStringLiteral("搜索查询"), QStringLiteral(":/image/search.png"),
                                QStringLiteral("F4"), &mainWindow::slotSearchLease, 3);
    actExit = new QAction(QStringLiteral("退    出"), this);
    actExit->setIcon(QIcon(QStringLiteral(":/image/exit.png")));
    actExit->setShortcut(QKeySequence(QStringLiteral("Ctrl+Q")));
    connect(actExit, &QAction::triggered, this, &QWidget::close);
    actBackupData = makeAction(QStringLiteral("备份业务数据"), QStringLiteral(":/image/filesave.png"),
                               QStringLiteral("Ctrl+B"), &mainWindow::slotBackupData, 2);
    actRestoreData = makeAction(QStringLiteral("恢复业务数据"), QStringLiteral(":/image/open.png"),
                                QStringLiteral("Ctrl+R"), &mainWindow::slotRestoreData, 2);
    actClearData = makeAction(QStringLiteral("清理业务数据"), QStringLiteral(":/image/delete.png"),
                              QString(), &mainWindow::slotClearData, 1);
    actViewLog = makeAction(QStringLiteral("浏览日志"), QString(), QString(), &mainWindow::slotViewLog, 2);
    actClearLog = makeAction(QStringLiteral("清理所有日志"), QStringLiteral(":/image/delete.png"),
                             QString(), &mainWindow::slotClearLog, 1);
    actUserChangePWD = makeAction(QStringLiteral("操作员修改密码"), QStringLiteral(":/image/keys.png"),
                                  QString(), &mainWindow::slotUserChangePWD, 4);
    actManageUser = makeAction(QStringLiteral("操作员管理"), QStringLiteral(":/image/user.png"),
                               QString(), &mainWindow::slotManageUser, 1);
    actSetField = makeAction(QStringLiteral("数据字段维护"), QString(), QString(), &mainWindow::slotSetField, 1);
    actManageSelectedItem = makeAction(QStringLiteral("选择项目维护"), QString(), QString(),
                                       &mainWindow::slotManageSelectedItem, 2);
    actSetPrice = makeAction(QStringLiteral("默认收费金额"), QString(), QString(), &mainWindow::slotSetPrice, 1);
    actSetPrintItem = makeAction(QStringLiteral("打印控制"), QStringLiteral(":/image/Printer.png"),
                                 QString(), &mainWindow::slotSetPrintItem, 2);
    actSetBackground = makeAction(QStringLiteral("设置背景图片"), QStringLiteral(":/image/picture.png"),
                                  QString(), &mainWindow::slotSetBackground, 0);
    actManageServer = makeAction(QStringLiteral("配置服务器"), QString(), QString(),
                                 &mainWindow::slotManageServer, 1);
    actAbout = makeAction(QStringLiteral("关于"), QStringLiteral(":/image/card.gif"), QString(),
                          &mainWindow::slotAbout, 0);
    actAbout->setStatusTip(QStringLiteral("Show the application's About box"));
    actHelp = makeAction(QStringLiteral("帮助说明"), QStringLiteral(":/image/help.png"),
                         QStringLiteral("F1"), &mainWindow::slotHelp, 0);
}

void mainWindow::createMenus()
{
    // nullptr stands for a separator.
    auto addMenu = [this](const QString &title, std::initializer_list<QAction *> actions) {
        QMenu *menu = menuBar()->addMenu(title);
        for (QAction *action : actions) {
            if (action)
                menu->addAction(action);
            else
                menu->addSeparator();
        }
    };
    addMenu(QStringLiteral("业务管理(&1)"),
            {actRegisterLease, nullptr, actViewLease, nullptr, actSearchLease, nullptr, actExit});
    addMenu(QStringLiteral("数据管理(&2)"),
            {actBackupData, nullptr, actRestoreData, nullptr, actClearData, nullptr});
    addMenu(QStringLiteral("日志管理(&3)"), {actViewLog, nullptr, actClearLog});
    addMenu(QStringLiteral("设置维护(&4)"),
            {actUserChangePWD, actManageUser, nullptr, actSetField, actManageSelectedItem, actSetPrice, nullptr,
             actSetPrintItem, actManageServer, nullptr, actSetBackground});
    addMenu(QStringLiteral("帮助(&5)"), {actHelp, nullptr, actAbout});
}

void mainWindow::createToolBar()
{
    m_toolBar = addToolBar(QStringLiteral("工具栏"));
    m_toolBar->setObjectName(QStringLiteral("工具栏"));
    m_toolBar->addAction(actRegisterLease);
    m_toolBar->addAction(actViewLease);
    m_toolBar->addAction(actSearchLease);
    m_toolBar->addSeparator();
    m_toolBar->addAction(actBackupData);
    m_toolBar->addAction(actRestoreData);
    m_toolBar->addSeparator();
}

void mainWindow::createStatusBar()
{
    auto *caption = new QLabel(QStringLiteral(" 状态："));
    m_message = new QLabel;
    m_message->setIndent(3);
    m_dateLabel = new QLabel(QStringLiteral("    -  -  "));
    m_operatorLabel = new QLabel(QStringLiteral("操作员："));
    m_levelLabel = new QLabel(QStringLiteral("级别："));
    for (QLabel *label : {caption, m_message, m_dateLabel, m_operatorLabel, m_levelLabel})
        statusBar()->addWidget(label);
}

void mainWindow::readSettings()
{
    const auto settings = appSettings::open();
    auto value = [&](const appSettings::setting &s) { return appSettings::value(*settings, s); };
    m_region = value(appSettings::key::region).toString();
    m_company = value(appSettings::key::company).toString();
    m_bgFile = value(appSettings::key::backgroundFile).toString();
    m_bgDisplay = value(appSettings::key::backgroundDisplay).toBool();
    m_bgFill = value(appSettings::key::backgroundFill).toBool();
    m_toolBar->setVisible(value(appSettings::key::toolBarDisplay).toBool());
    connect(m_toolBar, &QToolBar::visibilityChanged, this, &mainWindow::saveToolBarsState);
    m_autoStop = value(appSettings::key::serverAutoStop).toBool();
}

void mainWindow::setLevel(int level)
{
    m_level = level;
    applyLevel();
}

void mainWindow::applyLevel()
{
    // The tool bar shares these action objects, so it follows too.
    for (QAction *menuAction : menuBar()->actions()) {
        if (!menuAction->menu())
            continue;
        for (QAction *action : menuAction->menu()->actions()) {
            if (action->isSeparator())
                continue;
            const int n = action->data().toInt();
            action->setEnabled(n == 0 || n >= m_level);
        }
    }
    // Without the office's region code every number would be refused or,
    // worse, issued under another region's code.
    if (m_level <= 3 && !m_regionSet)
        actRegisterLease->setEnabled(false);
}

void mainWindow::setBackground(const QString &file, bool display, bool fill)
{
    m_bgFile = file;
    m_bgDisplay = display;
    m_bgFill = fill;
}

void mainWindow::applyBackground()
{
    if (m_bgDisplay && !m_bgFile.isEmpty()) {
        m_mdi->setBackground(Qt::NoBrush);
        if (m_bgFill)
            setStyleSheet(QStringLiteral("QMdiArea { border-image: url(") + m_bgFile + QStringLiteral(");}"));
        else
            setStyleSheet(QStringLiteral("QMdiArea {background-image: url(") + m_bgFile + QStringLiteral(");}"));
    } else {
        m_mdi->setBackground(QBrush(Qt::Dense7Pattern));
        setStyleSheet(QStringLiteral("QMdiArea { background-color: lightGray; } "));
    }
}

void mainWindow::afterLogin(const QString &databaseName)
{
    m_message->clear();
    // A refused attempt or the server-start notice must not outlive the login.
    statusBar()->clearMessage();
    // Close the login form itself: a help window opened before login may be
    // the active sub-window.
    for (QMdiSubWindow *sub : m_mdi->subWindowList()) {
        if (qobject_cast<frmLogin *>(sub->widget()))
            sub->close();
    }

    if (firstRun::ensureDatabase(m_database, databaseName, installPaths::dataFile(QStringLiteral("datamodel.sql")), m_operatorName,
                                 [this](const QString &text) { setMessage(text); })
        == firstRun::outcome::Failed) {
        // Nothing to work on: offer the login again once the cause is fixed.
        openForm(new frmLogin(this));
        return;
    }

    m_database.setDatabaseName(databaseName);
    m_database.reopen();

    m_workDate = m_database.serverDate();
    m_dateLabel->setText(m_workDate.toString(QStringLiteral("yyyy-MM-dd")));

    const QString account = m_database.userName();
    m_operatorName = myTools::displayName(account);
    m_operatorLabel->setText(QStringLiteral("操作员：") + m_operatorName);

    m_level = myTools::operatorLevel(m_database, account, m_database.databaseName());
    m_levelLabel->setText(QStringLiteral("权限：") + myTools::levelName(m_level));
    // The login has succeeded here, whatever the questions below are
    // answered: the log must say so even if the program is closed at one.
    m_database.writeLog(m_operatorName, QStringLiteral("登录系统"));
    if (m_level <= 1)
        repairSchema();
    checkRegion();

    applyLevel();
    applyBackground();
    showMaximized();
}

void mainWindow::repairSchema()
{
    // A database an earlier installation made may lack the key on the
    // number, the delete triggers or the log's key; adding them needs a
    // supervisor's rights, so only such a login tries. Something that cannot
    // be added (duplicate numbers block the key) is said at every such login
    // until it is put right.
    const QString problem =
        schemaRepair::ensure(m_database, installPaths::dataFile(QStringLiteral("datamodel.sql")));
    if (!problem.isEmpty())
        QMessageBox::warning(this, QStringLiteral("警告"), problem);
}

void mainWindow::checkRegion()
{
    m_regionSet = appSettings::isRegionCode(m_region) && appSettings::hasRegion();
    if (m_regionSet)
        return;
    if (m_level > 1) {
        QMessageBox::warning(this, QStringLiteral("警告"),
                             QStringLiteral("本机还没有设置本单位的地区代码（登记编号的前6位），暂时不能办理登记备案。"
                                            "请主管登录本机设置。"));
        return;
    }
    // The default 000000 stands in for a missing code; it is not offered.
    frmSetRegion dialog(appSettings::hasRegion() ? m_region : QString(), m_company, this);
    if (dialog.exec() != QDialog::Accepted)
        return;
    {
        const auto settings = appSettings::open();
        appSettings::setValue(*settings, appSettings::key::region, dialog.region());
        appSettings::setValue(*settings, appSettings::key::company, dialog.company());
    }
    m_region = dialog.region();
    m_company = dialog.company();
    m_regionSet = true;
}

void mainWindow::showStatus(const QString &text, int timeoutMs) { statusBar()->showMessage(text, timeoutMs); }

void mainWindow::setMessage(const QString &text) { m_message->setText(text); }

void mainWindow::openForm(QWidget *form)
{
    // The sub-window opens at the form's size hint; forms with wide tables
    // give a larger one.
    // The layout editor's preview and calibration are forms too, and only
    // this window makes forms.
    if (auto *editor = qobject_cast<frmSetPrintItem *>(form)) {
        connect(editor, &frmSetPrintItem::previewRequested, this, [this, editor] { openPrintPreview(editor); });
        connect(editor, &frmSetPrintItem::calibrationRequested, this, [this, editor] { openPrintCalibration(editor); });
    }
    QMdiSubWindow *sub = m_mdi->addSubWindow(form);
    form->show();
    sub->show();
    desktopFit::fitInside(sub);
    m_mdi->setActiveSubWindow(sub);
    form->setFocus();
}

void mainWindow::openPrintPreview(frmSetPrintItem *editor)
{
    auto *preview = new frmPrintPreview(this, editor->printedLayout());
    connect(editor, &frmSetPrintItem::printedLayoutChanged, preview, &frmPrintPreview::setPrintLayout);
    editor->attachPreview(preview);
    openForm(preview);
}

void mainWindow::openPrintCalibration(frmSetPrintItem *editor)
{
    auto *calibration = new frmPrintCalibration(this, editor->printedLayout().geometry());
    connect(editor, &frmSetPrintItem::printedLayoutChanged, calibration,
            [calibration](const printLayout &layout) { calibration->setPage(layout.geometry()); });
    editor->attachCalibration(calibration);
    openForm(calibration);
}

void mainWindow::openRegistration(const QString &number)
{
    for (QMdiSubWindow *sub : m_mdi->subWindowList()) {
        if (sub->windowTitle() == QStringLiteral("登记备案"))
            sub->close();
    }
    auto *form = new frmRegisterLease(this);
    openForm(form);
    form->numberEdit()->setText(number);
    form->slotEditLinDJBH(number);
}

void mainWindow::closeForm(QWidget *form)
{
    if (auto *sub = qobject_cast<QMdiSubWindow *>(form->parentWidget()))
        sub->close();
    else
        form->close();
}

void mainWindow::showFixedWindow(QWidget *content, const QString &title, const QSize &size)
{
    content->setWindowTitle(title);
    content->setAttribute(Qt::WA_DeleteOnClose);
    QMdiSubWindow *sub = m_mdi->addSubWindow(content);
    sub->resize(size);
    content->show();
    desktopFit::fitInside(sub);
}

bool mainWindow::serverReachable()
{
    // The forms are built from the tables' current columns: opened while the
    // server is away they would show no fields at all, which reads as if the
    // office's data were gone. Asking first also reconnects after a restart.
    QSqlError error;
    if (m_database.ensureConnected(&error))
        return true;
    QApplication::beep();
    QMessageBox::critical(this, QStringLiteral("错误"),
                          QStringLiteral("无法连接数据库服务器（服务器可能已经停止，或者网络中断）。"
                                         "请确认服务器已经启动后再试，不必重新启动本程序。"));
    return false;
}

template <typename Form>
void mainWindow::openDatabaseForm()
{
    if (serverReachable())
        openForm(new Form(this));
}

void mainWindow::slotRegisterLease() { openDatabaseForm<frmRegisterLease>(); }
void mainWindow::slotViewLease() { openDatabaseForm<frmViewLease>(); }
void mainWindow::slotSearchLease() { openDatabaseForm<frmSearchLease>(); }
void mainWindow::slotSetPrintItem() { openDatabaseForm<frmSetPrintItem>(); }

void mainWindow::slotClearData() { openDatabaseForm<frmClearData>(); }
void mainWindow::slotUserChangePWD() { openDatabaseForm<frmUserChangePWD>(); }
void mainWindow::slotManageUser() { openDatabaseForm<frmManageUser>(); }
void mainWindow::slotSetField() { openDatabaseForm<frmSetField>(); }
void mainWindow::slotManageSelectedItem() { openDatabaseForm<frmManageSelectedItem>(); }
void mainWindow::slotSetBackground() { openForm(new frmSetBackground(this)); }
void mainWindow::slotManageServer() { openForm(new frmManageServer(this)); }

backupEngine *mainWindow::startMaintenance()
{
    if (backupEngine::anyRunning()) {
        QApplication::beep();
        statusBar()->showMessage(QStringLiteral("另一项数据维护正在进行，请等它完成。"), 3000);
        return nullptr;
    }
    if (!serverReachable())
        return nullptr;
    auto *engine = new backupEngine(m_database, this);
    engine->setAutomaticBackupFolder(installPaths::backupFolder());
    engine->setTemplatePath(installPaths::dataFile(QStringLiteral("datamodel.sql")));
    new maintenanceProgress(engine, this);
    connect(engine, &backupEngine::finished, engine, &QObject::deleteLater);
    return engine;
}

void mainWindow::reportMaintenance(backupEngine *engine, const QString &done, int doneMs)
{
    if (engine->succeeded()) {
        QApplication::beep();
        statusBar()->showMessage(done, doneMs);
        return;
    }
    statusBar()->clearMessage();
    if (engine->cancelRequested())
        QMessageBox::information(this, QStringLiteral("信息"), engine->message());
    else
        QMessageBox::critical(this, QStringLiteral("错误"), engine->message());
}

void mainWindow::slotBackupData()
{
    if (backupEngine::anyRunning())
        return;
    QString name = QFileDialog::getSaveFileName(
        this, QStringLiteral("备份业务数据"),
        m_database.databaseName() + today().toString(QStringLiteral("yyyyMMdd")) + QStringLiteral(".sda"),
        dataBackup::fileFilter());
    if (name.isEmpty())
        return;
    name = dataBackup::withExtension(name);
    backupEngine *engine = startMaintenance();
    if (!engine)
        return;
    connect(engine, &backupEngine::finished, this,
            [this, engine] { reportMaintenance(engine, QStringLiteral(" 信息：数据备份完成！"), 1000); });
    statusBar()->showMessage(QStringLiteral("正在备份数据……"));
    engine->startBackup(name);
}

void mainWindow::slotRestoreData()
{
    if (backupEngine::anyRunning())
        return;
    const QString name = QFileDialog::getOpenFileName(this, QStringLiteral("打开备份数据文件："),
                                                      QStringLiteral("."), dataBackup::fileFilter());
    if (name.isEmpty())
        return;
    backupEngine *engine = startMaintenance();
    if (!engine)
        return;
    connect(engine, &backupEngine::finished, this, [this, engine] {
        // The log row goes into the restored database: the log came back as
        // it was at backup time, and this row says what happened since.
        if (engine->succeeded())
            m_database.writeLog(m_operatorName, QStringLiteral("恢复数据"));
        reportMaintenance(engine, QStringLiteral(" 信息：数据恢复完成，请重新登录！"), 2000);
        if (engine->succeeded())
            QMessageBox::information(this, QStringLiteral("信息"), engine->message());
        if (!engine->warning().isEmpty())
            QMessageBox::warning(this, QStringLiteral("警告"), engine->warning());
    });
    statusBar()->showMessage(QStringLiteral(" 信息：正在恢复数据……"));
    engine->startRestore(name);
}

bool mainWindow::maintenanceRunning() const { return backupEngine::anyRunning(); }

void mainWindow::slotViewLog()
{
    if (!serverReachable())
        return;
    auto *view = new myTableView;
    auto *model = new QSqlQueryModel(view);
    model->setQuery(QStringLiteral("SELECT * FROM log"), m_database.handle());
    view->setModel(model);
    // The fixed widths were measured for a narrow system font; a wider CJK
    // font needs more for the date and time, and the window grows by as much
    // so the descriptions stay whole.
    desktopFit::setColumnWidths(view, {130, 90, 370});
    // A long log brings a vertical scroll bar and wider row numbers, which the
    // fixed width leaves no room for: never narrower than the columns, the
    // row numbers, a scroll bar and the frames need, so no entry needs
    // scrolling sideways.
    const int needed = view->verticalHeader()->sizeHint().width() + view->horizontalHeader()->length()
        + view->style()->pixelMetric(QStyle::PM_ScrollBarExtent) + 2 * view->frameWidth()
        + 2 * m_mdi->style()->pixelMetric(QStyle::PM_MdiSubWindowFrameWidth);
    showFixedWindow(view, QStringLiteral("浏览业务日志"), QSize(qMax(640 + view->columnWidth(0) - 130, needed), 400));
}

void mainWindow::slotClearLog()
{
    if (QMessageBox::question(this, QStringLiteral("确认"),
                              QStringLiteral("将清空业务日志，请注意数据备份。是否继续进行？"),
                              QMessageBox::Yes | QMessageBox::No)
        == QMessageBox::No)
        return;
    QSqlError error;
    if (m_database.runInTransaction({QStringLiteral("DELETE From log"),
                                     operationLog::insertSql(m_operatorName, QStringLiteral("清空日志"))},
                                    &error))
        statusBar()->showMessage(QStringLiteral(" OK，清空日志完成！"), 2000);
    else
        QMessageBox::critical(this, QStringLiteral("错误"), error.text());
}

void mainWindow::slotSetPrice()
{
    bool ok = false;
    const int price = QInputDialog::getInt(this, QStringLiteral("对话框"),
                                           QStringLiteral("请输入默认收费金额（单位：元）　　"),
                                           appSettings::defaultFee(), 1, 99999, 1, &ok);
    if (ok)
        appSettings::setValue(appSettings::key::price, price);
}

void mainWindow::slotHelp()
{
    QString text;
    if (!gbText::readFile(installPaths::dataFile(QStringLiteral("readme.txt")), &text)) {
        QApplication::beep();
        statusBar()->showMessage(QStringLiteral("打开文件“readme.txt”失败。"), 2000);
        return;
    }
    auto *edit = new QTextEdit;
    edit->setReadOnly(true);
    edit->setPlainText(text);
    showFixedWindow(edit, QStringLiteral("帮助说明"), QSize(550, 350));
}

void mainWindow::slotAbout()
{
    const QString server = m_database.isOpen() ? m_database.serverVersion() : QString();
    QMessageBox::about(
        this, QStringLiteral("关于"),
        QStringLiteral("<h3>Zelnor 房屋租赁登记备案管理系统 %1</h3>"
                       "<p>Qt Ver:&nbsp;%2&nbsp;&nbsp;MySQL Ver:&nbsp;%3</p>"
                       "<p>为县、市房屋租赁管理部门登记备案工作编制。</p>")
            .arg(QCoreApplication::applicationVersion(), QString::fromLatin1(qVersion()), server));
}

void mainWindow::saveToolBarsState()
{
    appSettings::setValue(appSettings::key::toolBarDisplay, m_toolBar->isVisible());
}

void mainWindow::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        QCoreApplication::postEvent(
            this, new QKeyEvent(QEvent::KeyPress, Qt::Key_Tab, Qt::NoModifier, QString(), false, 1));
        return;
    }
    event->ignore();
}

void mainWindow::closeEvent(QCloseEvent *event)
{
    if (m_database.isOpen())
        m_database.writeLog(m_operatorName, QStringLiteral("退出系统"));
    event->accept();
    if (m_serverProcess && m_autoStop)
        stopStartedServer();
}

void mainWindow::stopStartedServer()
{
#ifdef Q_OS_WIN
    QProcess taskkill;
    taskkill.start(QStringLiteral("taskkill"), {QStringLiteral("/F"), QStringLiteral("/T"),
                                                QStringLiteral("/IM"), QStringLiteral("mysqld.exe")});
    taskkill.waitForFinished(2000);
#else
    // Only the server this run started, through its own process object.
    m_serverProcess->terminate();
    m_serverProcess->waitForFinished(2000);
#endif
}
