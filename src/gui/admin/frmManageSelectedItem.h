#ifndef FRMMANAGESELECTEDITEM_H
#define FRMMANAGESELECTEDITEM_H

#include <QWidget>

class QComboBox;
class QPushButton;
class QTableWidget;
class formHost;

// 选择项目选择值维护: the permitted values of one choice (enum) column of the
// party tables, one per grid row, written back as the column's new type.
class frmManageSelectedItem : public QWidget
{
    Q_OBJECT
public:
    explicit frmManageSelectedItem(formHost *host, QWidget *parent = nullptr);
    QSize sizeHint() const override;

    QComboBox *fieldBox() const { return cbxField; }
    QTableWidget *grid() const { return tableWid; }
    QPushButton *saveButton() const { return m_save; }
    QPushButton *cancelButton() const { return m_canc; }

signals:
    void myEditStatusChangeSignal(bool dirty);

public slots:
    void btExitClicked();
    void btAppeClicked();
    void btDeleClicked();
    void btSaveClicked();
    void btCancClicked();
    void myTableEdited();
    void cbxFieldSelected(const QString &column);
    void myEditStatusChanged(bool dirty);

private:
    formHost *m_host;
    QComboBox *cbxField;
    QTableWidget *tableWid;
    QPushButton *m_appe, *m_dele, *m_save, *m_canc, *m_exit;
    // Set while the values are loaded, so only the operator's edits count.
    bool m_loading = false;
};

#endif
