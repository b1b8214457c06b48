#include "csvExport.h"

#include "gbText.h"

#include <QAbstractItemModel>
#include <QFile>
#include <QRegularExpression>

bool csvExport::needsApostrophe(const QString &cell)
{
    // The rule was first written as "[-]{,1}[0-9]*[.]{,1}[0-9]*" for QRegExp;
    // PCRE (QRegularExpression) reads "{,1}" literally, so the same language
    // is written with "?" here.
    static const QRegularExpression number(
        QRegularExpression::anchoredPattern(QStringLiteral("-?[0-9]*\\.?[0-9]*")));
    return cell.size() >= 7 && number.match(cell).hasMatch();
}

QString csvExport::compose(const QAbstractItemModel *model)
{
    const int columns = model->columnCount();
    const int rows = model->rowCount();
    QStringList cells;
    cells.reserve(columns);
    for (int c = 0; c < columns; ++c)
        cells << model->headerData(c, Qt::Horizontal, Qt::DisplayRole).toString();
    QString text = cells.join(QLatin1Char(',')) + QLatin1Char('\n');
    for (int r = 0; r < rows; ++r) {
        cells.clear();
        for (int c = 0; c < columns; ++c) {
            const QString cell = model->index(r, c).data(Qt::DisplayRole).toString();
            cells << (needsApostrophe(cell) ? QLatin1Char('\'') + cell : cell);
        }
        text += cells.join(QLatin1Char(',')) + QLatin1Char('\n');
    }
    return text;
}

bool csvExport::write(const QAbstractItemModel *model, const QString &path, QString *error)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate)
        || file.write(gbText::encode(compose(model))) < 0) {
        if (error)
            *error = file.errorString();
        return false;
    }
    return true;
}
