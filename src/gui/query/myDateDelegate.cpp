#include "myDateDelegate.h"

#include <QDate>
#include <QDateTime>

QString myDateDelegate::displayText(const QVariant &value, const QLocale &locale) const
{
    switch (value.userType()) {
    case QMetaType::QDate:
        return value.toDate().toString(QStringLiteral("yyyy-MM-dd"));
    case QMetaType::QDateTime:
        return value.toDateTime().toString(QStringLiteral("yyyy-MM-dd hh:mm:ss"));
    default:
        return QStyledItemDelegate::displayText(value, locale);
    }
}
