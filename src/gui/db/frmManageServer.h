#ifndef FRMMANAGESERVER_H
#define FRMMANAGESERVER_H

#include <QWidget>

class QCheckBox;
class QLineEdit;
class QPushButton;
class QRadioButton;
class shellHost;

// 配置服务器: where the database server is and whether this program starts
// and stops a local one. Edits only the Server group of the settings file;
// the login form reads it at the next login, the auto-stop flag also
// applies to this run's exit.
class frmManageServer : public QWidget
{
    Q_OBJECT
public:
    explicit frmManageServer(shellHost *host, QWidget *parent = nullptr);

    QRadioButton *localButton() const { return rbLocal; }
    QRadioButton *remoteButton() const { return rbRemote; }
    QLineEdit *addressEdit() const { return linAddress; }
    QLineEdit *fileEdit() const { return linFile; }
    QPushButton *selectFileButton() const { return btSelectFile; }
    QCheckBox *autoStartBox() const { return chkAutoStart; }
    QCheckBox *autoStopBox() const { return chkAutoStop; }
    QPushButton *saveButton() const { return btSave; }

public slots:
    void btExitClicked();
    void btSaveClicked();
    // 本机 fills in "localhost" and offers the server program and its
    // start/stop flags, which mean nothing for a remote server.
    void localHandle();
    void btSelectFileClicked();
    void setBtSaveEnabeld(); // the misspelling is the slot's established name

private:
    void fitFileField();

    shellHost *m_host;
    QRadioButton *rbLocal;
    QRadioButton *rbRemote;
    QLineEdit *linAddress;
    QLineEdit *linFile;
    QPushButton *btSelectFile;
    QCheckBox *chkAutoStart;
    QCheckBox *chkAutoStop;
    QPushButton *btSave;
};

#endif
