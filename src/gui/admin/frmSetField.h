#ifndef FRMSETFIELD_H
#define FRMSETFIELD_H

#include "schemaSql.h"

#include <QWidget>

class QComboBox;
class QPushButton;
class QTableWidget;
class QTableWidgetItem;
class QTextEdit;
class formHost;

// 数据字段维护: the columns of one party table in a grid that the supervisor
// edits as a working copy; saving turns the differences into ALTER TABLE
// statements. Forms opened afterwards follow the new columns.
class frmSetField : public QWidget
{
    Q_OBJECT
public:
    explicit frmSetField(formHost *host, QWidget *parent = nullptr);
    QSize sizeHint() const override;

    enum gridColumn { colName, colType, colNull, colKey, colDefault, colOriginal, colModified, colCount };

    QComboBox *tableBox() const { return cbxTable; }
    QTableWidget *grid() const { return tableWid; }
    QTextEdit *typePane() const { return m_typeText; }
    QPushButton *saveButton() const { return m_save; }
    QPushButton *deleteButton() const { return m_dele; }
    bool moved() const { return m_moved; }

    // The grid as the save sees it.
    QList<schemaSql::fieldRow> gridRows() const;

public slots:
    void btExitClicked();
    void btAddClicked();
    void btInseClicked();
    void btDeleClicked();
    void btMoveClicked();
    void btSaveClicked();
    // Takes the edited item rather than the current row: when an edit is
    // committed by clicking another row, the current row is already the new one.
    void tableWidEdited(QTableWidgetItem *item);
    void tableWidSelected();
    void cbxTableSelected(int index);

private:
    QString tableName() const;
    void insertRow(int row, bool isProtected);
    void setCell(int row, int column, const QString &text);

    formHost *m_host;
    QComboBox *cbxTable;
    QTableWidget *tableWid;
    QTextEdit *m_typeText;
    QPushButton *m_add, *m_inse, *m_dele, *m_move, *m_save, *m_exit;
    bool m_moved = false;
    // Set while the dialog itself fills cells, so only the operator's edits
    // count as changes.
    bool m_filling = false;
};

#endif
