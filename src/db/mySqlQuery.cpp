#include "mySqlQuery.h"

#include <QAbstractItemModel>
#include <QDate>
#include <QDateTime>
#include <QSqlField>
#include <QSqlRecord>
#include <QTableWidget>
#include <QThreadPool>
#include <vector>

mySqlQuery::mySqlQuery()
    : m_query(QSqlDatabase::database())
{
}

static QVariant typed(const QVariant &value, QVariant::Type type)
{
    // A lease without a lessee or house row has NULL in those columns; the
    // conversions below would show it as 0, which reads as a real value.
    if (value.isNull())
        return QVariant();
    // The driver mostly delivers the column's own type already.
    if (value.type() == type)
        return value;
    switch (type) {
    case QVariant::Int: return value.toInt();
    case QVariant::Double: return value.toDouble();
    case QVariant::LongLong: return value.toLongLong();
    case QVariant::UInt: return value.toUInt();
    case QVariant::ULongLong: return value.toULongLong();
    case QVariant::Date: return value.toDate();
    case QVariant::DateTime: return value.toDateTime();
    default: return value.toString();
    }
}

void mySqlQuery::fillTable(QTableWidget *table)
{
    m_types.clear();
    m_names.clear();
    m_query.setForwardOnly(true);
    if (!m_query.exec(m_statement)) {
        table->setColumnCount(0);
        return;
    }

    const QSqlRecord record = m_query.record();
    const int columns = record.count();
    QStringList headers;
    for (int c = 0; c < columns; ++c) {
        m_names[c] = record.fieldName(c);
        m_types[c] = record.field(c).type();
        headers << m_names[c];
    }

    // Build every row first and place them in one pass. Inserting each row at
    // the top of the widget, one by one, shifts all rows already there and
    // makes a large result quadratic.
    std::vector<QTableWidgetItem *> items;
    // The driver buffers the whole result, so its size is known: one
    // allocation instead of a chain of ever larger copies for a big result.
    if (m_query.size() > 0)
        items.reserve(size_t(m_query.size()) * size_t(columns));
    const QVector<QVariant::Type> types = m_types.values().toVector(); // keys are 0..columns-1, in order
    while (m_query.next()) {
        for (int c = 0; c < columns; ++c) {
            auto *item = new QTableWidgetItem;
            item->setData(Qt::DisplayRole, typed(m_query.value(c), types[c]));
            items.push_back(item);
        }
    }
    m_query.finish();
    const int added = columns ? int(items.size() / columns) : 0;

    const bool sorting = table->isSortingEnabled();
    table->setSortingEnabled(false);
    table->setUpdatesEnabled(false);
    table->setColumnCount(columns);
    table->setHorizontalHeaderLabels(headers);

    const int kept = table->rowCount();
    table->setRowCount(kept + added);
    // Every cell set announces itself to the view (a dataChanged signal and a
    // repaint rectangle computed for it): 800 000 of them for a year browsed
    // with eight fields. The rows are already inserted and announced, so the
    // cells are placed silently and announced once below.
    QAbstractItemModel *model = table->model();
    const bool blocked = model->blockSignals(true);
    // The rows already shown move below the new ones, bottom first.
    for (int r = kept - 1; r >= 0 && added > 0; --r)
        for (int c = 0; c < columns; ++c)
            table->setItem(r + added, c, table->takeItem(r, c));
    // Result row i lands at position added-1-i: reversed, as if each row had
    // been inserted at the top.
    for (int i = 0; i < added; ++i)
        for (int c = 0; c < columns; ++c)
            table->setItem(added - 1 - i, c, items[size_t(i) * columns + c]);
    model->blockSignals(blocked);
    if (kept + added > 0 && columns > 0)
        emit model->dataChanged(model->index(0, 0), model->index(kept + added - 1, columns - 1));

    table->setUpdatesEnabled(true);
    table->setSortingEnabled(sorting);
}

void mySqlQuery::emptyTable(QTableWidget *table)
{
    auto *cells = new std::vector<QTableWidgetItem *>;
    cells->reserve(size_t(table->rowCount()) * size_t(table->columnCount()));
    QAbstractItemModel *model = table->model();
    // Taken out silently: the rows go next, and their removal is announced.
    const bool blocked = model->blockSignals(true);
    for (int r = 0; r < table->rowCount(); ++r)
        for (int c = 0; c < table->columnCount(); ++c)
            if (QTableWidgetItem *item = table->takeItem(r, c))
                cells->push_back(item);
    model->blockSignals(blocked);
    table->setRowCount(0);
    // A taken item belongs to no table any more; freeing it touches nothing
    // the interface thread uses (its texts are shared with atomic counts).
    QThreadPool::globalInstance()->start([cells] {
        for (QTableWidgetItem *item : *cells)
            delete item;
        delete cells;
    });
}
