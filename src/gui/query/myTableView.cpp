#include "myTableView.h"
#include "myDateDelegate.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QStyledItemDelegate>

myTableView::myTableView(QWidget *parent)
    : QTableView(parent)
{
    auto *copy = new QAction(tr("复制选定内容到粘贴板"), this);
    connect(copy, &QAction::triggered, this, &myTableView::myCopyDataToClipoard);
    auto *all = new QAction(tr("选择所有单元格"), this);
    connect(all, &QAction::triggered, this, &QTableView::selectAll);
    addAction(copy);
    addAction(all);
    setContextMenuPolicy(Qt::ActionsContextMenu);
    setItemDelegate(new myDateDelegate(this));
}

QString myTableView::shownText(const QModelIndex &index) const
{
    // The delegate decides how a value reads on screen (a time without its
    // "T" and milliseconds); what is pasted elsewhere must read the same.
    const QVariant value = index.data(Qt::DisplayRole);
    if (auto *delegate = qobject_cast<QStyledItemDelegate *>(itemDelegate(index)))
        return delegate->displayText(value, locale());
    return value.toString();
}

QString myTableView::selectedBlockText() const
{
    if (!selectionModel() || !model())
        return QString();
    const QModelIndexList indexes = selectionModel()->selectedIndexes();
    if (indexes.isEmpty())
        return QString();
    // The block runs from the first selected cell to the last one; with
    // several selections, unselected cells inside it are copied too.
    const QModelIndex first = indexes.first();
    const QModelIndex last = indexes.last();
    QString text;
    for (int r = first.row(); r <= last.row(); ++r) {
        if (r > first.row())
            text += QLatin1Char('\n');
        for (int c = first.column(); c <= last.column(); ++c) {
            if (c > first.column())
                text += QLatin1Char('\t');
            text += shownText(model()->index(r, c));
        }
    }
    return text;
}

void myTableView::myCopyDataToClipoard()
{
    if (!selectionModel() || selectionModel()->selectedIndexes().isEmpty())
        return;
    QApplication::clipboard()->setText(selectedBlockText());
}
