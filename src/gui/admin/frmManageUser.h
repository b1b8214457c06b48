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
// DROP USER. Browse and edit mode are told apart by whether "增加" is
// enabled; the confirm button's caption says whether an add or a delete is
// pending.
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

private:
    void backToBrowse();

    formHost *m_host;
    QString m_database;
    QListWidget *lstUser;
    QLineEdit *linName;
    QComboBox *cbxLevel;
    QPushButton *btAdd;
    QPushButton *btDele;
    QPushButton *btSave;
    QPushButton *btCancel;
};

#endif
