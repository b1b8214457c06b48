#ifndef FRMPRINTPREVIEW_H
#define FRMPRINTPREVIEW_H

#include "printLayout.h"
#include "printPreview.h"

#include <QImage>
#include <QWidget>

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QScrollArea;
class QSpinBox;
class formHost;

// The certificate as it will print (预览), opened from the layout editor with
// the editor's unsaved layout: filled from one registration, at true size on
// the screen with a zoom, over a scan of the blank stationery if one was
// chosen. The scan is only ever shown here, never printed.
class frmPrintPreview : public QWidget
{
    Q_OBJECT
public:
    // Where the page is shown. On paper (the default): where the text must
    // land, which is what a scan of the stationery shows, so boxes are placed
    // against the form itself. As sent: where the program sends the text on
    // the default printer, calibration included, which lands on paper where
    // "on paper" shows only when the calibration is right.
    enum class view { onPaper = 0, asSent = 1 };

    frmPrintPreview(formHost *host, const printLayout &layout, QWidget *parent = nullptr);
    QSize sizeHint() const override;

    // The editor's layout changed: fetch the values again and redraw.
    void setPrintLayout(const printLayout &layout);

    // What is shown now, and through which geometry (calibration included
    // when the view is as sent).
    const QImage &image() const { return m_image; }
    printGeometry shownGeometry() const;
    const QList<printBox> &boxes() const { return m_boxes; }
    int pixelsPerInch() const;

    QLineEdit *numberEdit() const { return m_number; }
    QLabel *recordLabel() const { return m_record; }
    QComboBox *viewChoice() const { return m_view; }
    QComboBox *zoomChoice() const { return m_zoom; }
    QCheckBox *outlinesBox() const { return m_outlines; }
    QLineEdit *scanEdit() const { return m_scanFile; }
    QSpinBox *scanDpiSpin() const { return m_scanDpi; }
    QLabel *scanSizeLabel() const { return m_scanSize; }
    QLabel *printerLabel() const { return m_printer; }

public slots:
    // Reads the values again (the number typed, or the first registration),
    // the default printer and its calibration, and redraws.
    void btRefreshClicked();
    void btScanClicked();
    void btNoScanClicked();
    void btSavePdfClicked();
    void btExitClicked();

private:
    void loadScan();
    void rememberScan();
    void render();
    QString suggestedFileName() const;

    formHost *m_host;
    printLayout m_layout;
    QList<printBox> m_boxes;
    QString m_printerName;
    printCalibration m_calibration;
    stationeryScan m_scan;
    QImage m_image;

    QLineEdit *m_number;
    QLabel *m_record;
    QComboBox *m_view;
    QComboBox *m_zoom;
    QCheckBox *m_outlines;
    QLineEdit *m_scanFile;
    QSpinBox *m_scanDpi;
    QLabel *m_scanSize;
    QLabel *m_printer;
    QScrollArea *m_scroll;
    QLabel *m_page;
};

#endif
