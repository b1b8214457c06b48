#include "myDelegate.h"
#include "printLayout.h"

#include <QComboBox>
#include <QFontDialog>
#include <QHelpEvent>
#include <QPushButton>
#include <QTableWidget>
#include <QToolTip>

myDelegate::myDelegate(QTableWidget *table, QObject *parent)
    : QStyledItemDelegate(parent), m_table(table)
{
}

QWidget *myDelegate::createEditor(QWidget *parent, const QStyleOptionViewItem &option,
                                  const QModelIndex &index) const
{
    switch (index.column()) {
    case Font: {
        // The font lives in the cell's font role, so the cell needs an item
        // before the dialog can store anything in it.
        if (!m_table->item(index.row(), index.column()))
            m_table->setItem(index.row(), index.column(), new QTableWidgetItem);
        auto *button = new QPushButton(QStringLiteral("设置"), parent);
        connect(button, &QPushButton::clicked, const_cast<myDelegate *>(this), &myDelegate::slotSetMyFont);
        return button;
    }
    case Alignment:
    case Conversion: {
        auto *combo = new QComboBox(parent);
        combo->addItems(index.column() == Alignment ? printLayout::alignments() : printLayout::conversions());
        return combo;
    }
    default:
        return QStyledItemDelegate::createEditor(parent, option, index);
    }
}

void myDelegate::setEditorData(QWidget *editor, const QModelIndex &index) const
{
    if (index.column() == Alignment || index.column() == Conversion) {
        auto *combo = static_cast<QComboBox *>(editor);
        combo->setCurrentIndex(combo->findText(index.data().toString()));
        return;
    }
    if (index.column() == Font)
        return;
    QStyledItemDelegate::setEditorData(editor, index);
}

void myDelegate::setModelData(QWidget *editor, QAbstractItemModel *model, const QModelIndex &index) const
{
    switch (index.column()) {
    case Font:
        model->setData(index, fontSample());
        break;
    case Alignment:
    case Conversion:
        model->setData(index, static_cast<QComboBox *>(editor)->currentText());
        break;
    default:
        QStyledItemDelegate::setModelData(editor, model, index);
    }
}

void myDelegate::slotSetMyFont()
{
    QTableWidgetItem *item = m_table->currentItem();
    QFont start;
    if (item && item->data(Qt::FontRole).canConvert<QFont>())
        start = item->data(Qt::FontRole).value<QFont>();
    bool ok = false;
    const QFont chosen = QFontDialog::getFont(&ok, start, nullptr);
    if (item)
        item->setData(Qt::FontRole, chosen);
}

QString myDelegate::fontCaption(const QFont &font)
{
    QStringList words{font.family(), QString::number(font.pointSizeF()) + QStringLiteral("磅")};
    if (font.bold())
        words << QStringLiteral("粗体");
    if (font.italic())
        words << QStringLiteral("斜体");
    if (font.underline())
        words << QStringLiteral("下划线");
    if (font.strikeOut())
        words << QStringLiteral("删除线");
    return words.join(QStringLiteral("，"));
}

bool myDelegate::helpEvent(QHelpEvent *event, QAbstractItemView *view, const QStyleOptionViewItem &option,
                           const QModelIndex &index)
{
    const QVariant font = index.data(Qt::FontRole);
    if (event->type() == QEvent::ToolTip && index.column() == Font && font.canConvert<QFont>()) {
        QToolTip::showText(event->globalPos(), fontCaption(font.value<QFont>()), view);
        return true;
    }
    return QStyledItemDelegate::helpEvent(event, view, option, index);
}
