#ifndef MYTABLEVIEW_H
#define MYTABLEVIEW_H

#include <QTableView>

// A table view whose context menu copies a block of cells to the clipboard
// as TAB-separated lines, ready to paste into a spreadsheet.
class myTableView : public QTableView
{
    Q_OBJECT
public:
    explicit myTableView(QWidget *parent = nullptr);

    // The text the copy action puts on the clipboard; empty with no selection.
    QString selectedBlockText() const;

public slots:
    void myCopyDataToClipoard();
};

#endif
