#ifndef FRMMANAGEUSER_H
#define FRMMANAGEUSER_H

#include <QWidget>

class QComboBox;
class QLineEdit;
class QListWidget;
class QPushButton;
class formHost;

// 操作员管理: lists the accounts that hold rights on the business database,
// creates an operator at one of three levels with GRANT and drops one with
// DROP USER (operatorAccounts does the work). Browse and edit mode are told
// apart by whether "增加" is enabled; the confirm button's caption says
// whether an add or a delete is pending. For root the list marks accounts
// that hold more than their level needs, and "收紧权限" narrows them.
class frmManageUser : public QWidget
{
    Q_OBJECT
public:
    explicit frmManageUser(formHost *host, QWidget *parent = nullptr);

    QListWidget *userList() const { return lstUser; }
    QLineEdit *nameEdit() const { return linName; }
    QComboBox *levelBox() const { return cbxLevel; }
    QPushButton *addButton() const { return btAdd; }
    QPushButton *deleteButton() const { return btDele; }
    QPushButton *saveButton() const { return btSave; }
    QPushButton *cancelButton() const { return btCancel; }
    QPushButton *narrowButton() const { return btNarrow; }

signals:
    void btAddEnableChange();

public slots:
    void btExitClicked();
    void btAddClicked();
    void btDeleClicked();
    void btSaveClicked();
    void btAddEnableChanged();
    void btCancelClicked();
    void lstboxSelectionChanged();
    void btNarrowClicked();

private:
    void backToBrowse();
    // Reads each listed account's rights and marks those beyond its level.
    void markExcess();

    formHost *m_host;
    QString m_database;
    QListWidget *lstUser;
    QLineEdit *linName;
    QComboBox *cbxLevel;
    QPushButton *btAdd;
    QPushButton *btDele;
    QPushButton *btSave;
    QPushButton *btCancel;
    QPushButton *btNarrow;
    bool m_hasExcess = false;
};

#endif
