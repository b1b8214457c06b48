#ifndef MYDATEDELEGATE_H
#define MYDATEDELEGATE_H

#include <QStyledItemDelegate>

// Shows date cells as "yyyy-MM-dd", the form operators type and read
// everywhere else in the program. The cells keep their QDate values, so
// sorting stays chronological and the export writes the same text; only the
// locale's default short format ("1 Jan 2026" on an English system) is
// replaced.
class myDateDelegate : public QStyledItemDelegate
{
    Q_OBJECT
public:
    using QStyledItemDelegate::QStyledItemDelegate;
    QString displayText(const QVariant &value, const QLocale &locale) const override;
};

#endif
