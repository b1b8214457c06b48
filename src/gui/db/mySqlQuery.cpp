#include "mySqlQuery.h"

#include <QAbstractItemModel>
#include <QDate>
#include <QDateTime>
#include <QSqlField>
#include <QSqlRecord>
#include <QTableWidget>
#include <QThread>
#include <QThreadPool>
#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <limits>
#include <memory>
#include <mutex>
#include <vector>

mySqlQuery::mySqlQuery(const myDatabase &db)
    : m_db(db)
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

namespace {

// A stretch of result rows on its way into the table: the values as fetched
// (row-major), then the items made of them. Whoever claims it first, a pool
// thread or the interface thread, builds its items.
struct itemBatch {
    int firstRow = 0; // result row of values[0]
    std::vector<QVariant> values;
    std::vector<QTableWidgetItem *> items;
    std::atomic<bool> claimed{false};
};
using batchPtr = std::shared_ptr<itemBatch>;

// Batches a pool thread has built, waiting to be placed.
struct builtBatches {
    std::mutex lock;
    std::condition_variable arrived;
    std::vector<batchPtr> ready;
};

// Small enough that the last batch, built after the last row is read, costs
// a few milliseconds; large enough that handing one over costs nothing.
const int batchRows = 1024;

void buildItems(itemBatch &batch, const QVector<QVariant::Type> &types)
{
    const size_t columns = size_t(types.size());
    batch.items.reserve(batch.values.size());
    for (size_t i = 0; i < batch.values.size(); ++i) {
        auto *item = new QTableWidgetItem;
        item->setData(Qt::DisplayRole, typed(batch.values[i], types[int(i % columns)]));
        batch.items.push_back(item);
    }
    batch.values = {};
}

} // namespace

void mySqlQuery::fillTable(QTableWidget *table)
{
    m_types.clear();
    m_names.clear();
    // A query of its own for each fill: one held across fills would outlive
    // a reconnection and keep the previous result's memory.
    QSqlQuery query = m_db.query();
    query.setForwardOnly(true);
    if (!query.exec(m_statement)) {
        table->setColumnCount(0);
        return;
    }

    const QSqlRecord record = query.record();
    const int columns = record.count();
    QStringList headers;
    QVector<QVariant::Type> types;
    for (int c = 0; c < columns; ++c) {
        m_names[c] = record.fieldName(c);
        m_types[c] = record.field(c).type();
        headers << m_names[c];
        types << m_types[c];
    }

    const bool sorting = table->isSortingEnabled();
    table->setSortingEnabled(false);
    table->setUpdatesEnabled(false);
    table->setColumnCount(columns);
    table->setHorizontalHeaderLabels(headers);

    // Every cell set announces itself to the view (a dataChanged signal and a
    // repaint rectangle computed for it): 800 000 of them for a year browsed
    // with eight fields. The rows are inserted and announced as a block, so
    // the cells are placed silently and announced once at the end.
    QAbstractItemModel *model = table->model();
    const int kept = table->rowCount();
    auto makeRoom = [&](int rows) {
        table->setRowCount(kept + rows);
        const bool blocked = model->blockSignals(true);
        // The rows already shown move below the new ones, bottom first.
        for (int r = kept - 1; r >= 0 && rows > 0; --r)
            for (int c = 0; c < columns; ++c)
                table->setItem(r + rows, c, table->takeItem(r, c));
        model->blockSignals(blocked);
    };
    // The driver holds the whole result, so its row count is known before a
    // row is read: room is made first and each batch goes to its final place
    // as soon as its items exist. Should the count be unknown, everything is
    // placed once the last row is read.
    int total = columns > 0 ? query.size() : 0;
    if (total >= 0)
        makeRoom(total);

    // Making 800 000 items took a third of a year's browse. Pool threads make
    // them while this thread reads the next rows (the driver must stay on the
    // connection's thread); an item that belongs to no table touches nothing
    // shared. Only placing, which changes the table, happens here.
    builtBatches built;
    std::vector<batchPtr> pending; // handed over, not yet placed
    auto place = [&](const itemBatch &batch) {
        const bool blocked = model->blockSignals(true);
        // Result row i lands at total-1-i: reversed, as if each row had been
        // inserted at the top.
        for (size_t k = 0; k < batch.items.size(); ++k)
            table->setItem(total - 1 - batch.firstRow - int(k / size_t(columns)), int(k % size_t(columns)),
                           batch.items[k]);
        model->blockSignals(blocked);
        pending.erase(std::find_if(pending.begin(), pending.end(),
                                   [&](const batchPtr &b) { return b.get() == &batch; }));
    };
    auto placeBuilt = [&](bool wait) {
        std::vector<batchPtr> ready;
        {
            std::unique_lock<std::mutex> guard(built.lock);
            if (wait)
                built.arrived.wait(guard, [&] { return !built.ready.empty(); });
            ready.swap(built.ready);
        }
        for (const batchPtr &batch : ready)
            place(*batch);
    };
    auto handOver = [&](const batchPtr &batch) {
        pending.push_back(batch);
        QThreadPool::globalInstance()->start([batch, types, &built] {
            if (batch->claimed.exchange(true))
                return;
            buildItems(*batch, types);
            std::lock_guard<std::mutex> guard(built.lock);
            built.ready.push_back(batch);
            built.arrived.notify_one();
        });
    };

    int fetched = 0;
    const int limit = total >= 0 ? total : std::numeric_limits<int>::max();
    auto batch = std::make_shared<itemBatch>();
    batch->values.reserve(size_t(batchRows) * size_t(columns));
    while (fetched < limit && query.next()) {
        for (int c = 0; c < columns; ++c)
            batch->values.push_back(query.value(c));
        if (++fetched % batchRows == 0) {
            handOver(batch);
            if (total >= 0)
                placeBuilt(false);
            batch = std::make_shared<itemBatch>();
            batch->firstRow = fetched;
            batch->values.reserve(size_t(batchRows) * size_t(columns));
        }
    }
    query.finish();
    if (!batch->values.empty())
        handOver(batch);
    if (total < 0) {
        total = fetched;
        makeRoom(total);
    }

    // A batch no pool thread has started yet is built here, not waited for:
    // the pool may be busy (freeing the previous result, for one).
    for (const batchPtr &b : std::vector<batchPtr>(pending)) {
        if (!b->claimed.exchange(true)) {
            buildItems(*b, types);
            place(*b);
        }
    }
    while (!pending.empty())
        placeBuilt(true);
    // Fewer rows than announced leave empty rows on top.
    if (fetched < total)
        model->removeRows(0, total - fetched);

    if (kept + fetched > 0 && columns > 0)
        emit model->dataChanged(model->index(0, 0), model->index(kept + fetched - 1, columns - 1));

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
    // The freeing runs only on a core nobody else wants: right after this the
    // server works on the next statement and pool threads make its items,
    // and on a machine with no idle core the old result's 800 000 frees
    // would take their time. It has a thread of its own, so it never holds
    // up the threads making items.
    static QThreadPool freeing;
    freeing.setMaxThreadCount(1);
    freeing.start([cells] {
        QThread::currentThread()->setPriority(QThread::IdlePriority);
        for (QTableWidgetItem *item : *cells)
            delete item;
        delete cells;
    });
}
