#ifndef FRMSETPRINTITEM_H
#define FRMSETPRINTITEM_H

#include <QPointer>
#include <QTimer>
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
// printed box, the page setup, a test page and a preview of the unsaved
// contents, and the printers' calibration.
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
    // The preview and calibration forms opened for this editor, while they
    // are open. The host makes them (this form knows no other form) and
    // hands them over here; they follow printedLayoutChanged.
    QWidget *preview() const { return m_preview; }
    QWidget *calibration() const { return m_calibration; }
    void attachPreview(QWidget *preview) { m_preview = preview; }
    void attachCalibration(QWidget *calibration) { m_calibration = calibration; }

signals:
    void myEditingSignal(bool editing);
    // 预览 or 打印机校准 pressed while no such form is open for this editor.
    void previewRequested();
    void calibrationRequested();
    // What would print now, whenever an open preview or calibration form
    // should show it.
    void printedLayoutChanged(const printLayout &layout);

public slots:
    void btSaveClicked();
    void btClearClicked();
    void btPrintClicked();
    void btPreviewClicked();
    void btCalibrateClicked();
    void btReadClicked();
    void btExitClicked();
    void tableWidEdited();
    void myEditingChanged(bool editing);

private:
    // The preview and the calibration form follow the edits while open.
    void layoutEdited();
    void showEdits();

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
    QPointer<QWidget> m_preview;
    QPointer<QWidget> m_calibration;
    QTimer m_editsShown;
};

#endif
