#ifndef MYDELEGATE_H
#define MYDELEGATE_H

#include <QStyledItemDelegate>

class QTableWidget;

// Cell editors of the print layout table: a "设置" button that opens the font
// dialog for the font column, fixed choice lists for alignment and
// conversion, Qt's own editors elsewhere.
class myDelegate : public QStyledItemDelegate
{
    Q_OBJECT
public:
    enum column { Expression = 0, Font = 1, Position = 2, Size = 3, Alignment = 4, Conversion = 5 };

    explicit myDelegate(QTableWidget *table, QObject *parent = nullptr);

    QWidget *createEditor(QWidget *parent, const QStyleOptionViewItem &option,
                          const QModelIndex &index) const override;
    void setEditorData(QWidget *editor, const QModelIndex &index) const override;
    void setModelData(QWidget *editor, QAbstractItemModel *model, const QModelIndex &index) const override;
    // The font column is too narrow to show a large sample; its tooltip names the font.
    bool helpEvent(QHelpEvent *event, QAbstractItemView *view, const QStyleOptionViewItem &option,
                   const QModelIndex &index) override;
    static QString fontCaption(const QFont &font);
    // The text of a font cell, drawn in the cell's font so the table shows it.
    static QString fontSample() { return QStringLiteral("字样"); }

public slots:
    // Lets the operator pick the current cell's font, starting from the one
    // it has; a cancelled dialog leaves it as it was.
    void slotSetMyFont();

private:
    QTableWidget *m_table;
};

#endif
