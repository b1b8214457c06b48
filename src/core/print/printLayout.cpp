#include "printLayout.h"

#include "appSettings.h"
#include "leaseSql.h"
#include "myDatabase.h"
#include "myTools.h"
#include "sqlText.h"

namespace {

const QChar tab = QLatin1Char('\t');

// QSettings reads an unquoted value that contains commas (a font description
// written by hand or by another tool) as a list; the layout wants the text.
QString textOf(const QVariant &value)
{
    if (value.type() == QVariant::StringList)
        return value.toStringList().join(QLatin1Char(','));
    return value.toString();
}

} // namespace

QString printItem::settingsValue() const
{
    const QString conv = conversion.trimmed();
    return QStringList{expression.trimmed(), hasFont ? font.toString() : QString(),
                       position.trimmed(), size.trimmed(), alignment.trimmed(),
                       conv.isEmpty() ? QStringLiteral("无") : conv}
        .join(tab);
}

printItem printItem::fromSettingsValue(const QString &value)
{
    const QStringList parts = value.split(tab); // empty parts kept: they hold the columns' places
    printItem item;
    item.expression = parts.value(0);
    item.hasFont = !parts.value(1).isEmpty();
    item.font = myTools().fontFromString(parts.value(1));
    item.position = parts.value(2);
    item.size = parts.value(3);
    item.alignment = parts.value(4);
    item.conversion = parts.value(5);
    return item;
}

printLayout printLayout::load()
{
    const auto settings = appSettings::open();
    printLayout layout;
    layout.paper = textOf(appSettings::value(*settings, appSettings::key::paper));
    layout.landscape = appSettings::value(*settings, appSettings::key::landscape).toBool();
    layout.leftMargin = textOf(appSettings::value(*settings, appSettings::key::leftMargin));
    layout.topMargin = textOf(appSettings::value(*settings, appSettings::key::topMargin));
    settings->beginGroup(appSettings::group::printItems);
    for (const QString &key : settings->childKeys())
        layout.items.append(printItem::fromSettingsValue(textOf(settings->value(key))));
    return layout;
}

void printLayout::save() const
{
    const auto settings = appSettings::open();
    settings->remove(appSettings::group::pageSetup);
    settings->remove(appSettings::group::printItems);
    appSettings::setValue(*settings, appSettings::key::paper, paper);
    appSettings::setValue(*settings, appSettings::key::landscape, landscape);
    appSettings::setValue(*settings, appSettings::key::leftMargin, leftMargin);
    appSettings::setValue(*settings, appSettings::key::topMargin, topMargin);
    int n = 0;
    for (const printItem &item : items) {
        if (item.expression.trimmed().isEmpty())
            continue;
        settings->setValue(appSettings::group::printItems + QLatin1Char('/') + QString::number(n++),
                           item.settingsValue());
    }
}

QStringList printLayout::alignments()
{
    return {QStringLiteral("居左"), QStringLiteral("居中"), QStringLiteral("居右")};
}

QStringList printLayout::conversions()
{
    return {QStringLiteral("无"), QStringLiteral("中文数字"), QStringLiteral("金额大写")};
}

QPageSize::PageSizeId printLayout::pageSizeOf(const QString &paper)
{
    const QString name = paper.trimmed().toUpper();
    if (name == QLatin1String("A3"))
        return QPageSize::A3;
    if (name == QLatin1String("A5"))
        return QPageSize::A5;
    return QPageSize::A4;
}

Qt::Alignment printLayout::alignmentOf(const QString &alignment)
{
    // No vertical flag: the text sits at the top of its box, where the
    // stationery's lines are.
    if (alignment == QStringLiteral("居中"))
        return Qt::AlignHCenter;
    if (alignment == QStringLiteral("居右"))
        return Qt::AlignRight;
    return Qt::AlignLeft;
}

QPoint printLayout::pairOf(const QString &text)
{
    const QStringList parts = text.split(QLatin1Char(','));
    if (parts.size() == 2)
        return QPoint(parts[0].toInt(), parts[1].toInt());
    if (parts.size() == 1)
        return QPoint(parts[0].toInt(), 0);
    return QPoint();
}

QString printLayout::converted(const QString &value, const QString &conversion)
{
    if (conversion == QStringLiteral("中文数字"))
        return myTools().toChineseNumber(value);
    if (conversion == QStringLiteral("金额大写"))
        return myTools().toChineseAmount(value.toDouble());
    return value;
}

QString printLayout::valueOf(const myDatabase &db, const QString &expression, const QString &condition)
{
    // A bad expression fails here and prints as an empty box: the other
    // items of the certificate are still worth having on paper.
    return db.scalar(QStringLiteral("SELECT ") + expression + QLatin1Char(' ') + leaseSql::joinedView() + condition)
        .toString();
}

QString printLayout::numberCondition(const QString &number)
{
    // Every print item is a statement of its own over the joined view; the
    // key conditions let each one find the lease row without reading them all.
    return QStringLiteral(" AND leaseout.登记编号='") + sqlText::escaped(number) + QStringLiteral("' AND ")
           + leaseSql::numberKey(number);
}

printGeometry printLayout::geometry() const
{
    return printGeometry(pageSizeOf(paper), landscape, leftMargin.trimmed().toInt(), topMargin.trimmed().toInt());
}

QList<printBox> printLayout::boxes(const myDatabase &db, const QString &condition) const
{
    QList<printBox> filled;
    for (const printItem &item : items) {
        const QPoint at = pairOf(item.position);
        const QPoint extent = pairOf(item.size);
        filled.append({QRect(at.x(), at.y(), extent.x(), extent.y()), item.font, alignmentOf(item.alignment),
                       converted(valueOf(db, item.expression, condition), item.conversion)});
    }
    return filled;
}
