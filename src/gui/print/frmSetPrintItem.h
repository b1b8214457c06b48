#ifndef FRMSETPRINTITEM_H
#define FRMSETPRINTITEM_H

#include <QWidget>

#include "printLayout.h"

class QLineEdit;
class QListWidget;
class QPushButton;
class QRadioButton;
class QTableWidget;
class formHost;
class myDelegate;

// Editor of the certificate's print layout (打印项目控制): one table row per
// printed box, the page setup, and a test page of the unsaved contents.
class frmSetPrintItem : public QWidget
{
    Q_OBJECT
public:
    explicit frmSetPrintItem(formHost *host, QWidget *parent = nullptr);
    QSize sizeHint() const override;

    // What the table and page setup hold now, rows without an expression left out.
    printLayout currentLayout() const;
    // The same as the test page prints it: an emptied margin edit prints
    // with the usual margin rather than none.
    printLayout printedLayout() const;

    QListWidget *fieldList() const { return lstField; }
    QTableWidget *table() const { return tableWid; }
    QLineEdit *paperEdit() const { return m_paper; }
    QRadioButton *landscapeButton() const { return m_landscape; }
    QRadioButton *portraitButton() const { return m_portrait; }
    QLineEdit *leftEdit() const { return m_left; }
    QLineEdit *topEdit() const { return m_top; }
    QPushButton *saveButton() const { return m_save; }

signals:
    void myEditingSignal(bool editing);

public slots:
    void btSaveClicked();
    void btClearClicked();
    void btPrintClicked();
    void btReadClicked();
    void btExitClicked();
    void tableWidEdited();
    void myEditingChanged(bool editing);

private:
    formHost *m_host;
    QListWidget *lstField;
    QTableWidget *tableWid;
    myDelegate *m_delegate;
    QLineEdit *m_paper;
    QRadioButton *m_landscape;
    QRadioButton *m_portrait;
    QLineEdit *m_left;
    QLineEdit *m_top;
    QPushButton *m_save;
};

#endif
