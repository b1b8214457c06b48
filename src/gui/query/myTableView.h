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

    // The text the copy action puts on the clipboard, each cell as the view
    // shows it; empty with no selection.
    QString selectedBlockText() const;
    // One cell's text as shown.
    QString shownText(const QModelIndex &index) const;

public slots:
    void myCopyDataToClipoard();
};

#endif
