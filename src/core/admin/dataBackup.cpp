#include "dataBackup.h"

#include <QFileInfo>

namespace dataBackup {

QString fileFilter() { return QStringLiteral("压缩格式 (*.sda);;文本格式 (*.sql)"); }

QString withExtension(const QString &chosen)
{
    // Only the file's own name counts: a dot in a folder name is no extension.
    if (QFileInfo(chosen).fileName().section(QLatin1Char('.'), 1).isEmpty())
        return chosen + QStringLiteral(".sda");
    return chosen;
}

QByteArray withoutDefiners(QByteArray sql)
{
    static const QByteArray start("/*!50017 DEFINER=");
    int from = 0;
    while ((from = sql.indexOf(start, from)) >= 0) {
        int end = sql.indexOf("*/", from + start.size());
        if (end < 0)
            break;
        end += 2;
        if (end < sql.size() && sql.at(end) == ' ')
            ++end;
        sql.remove(from, end - from);
    }
    return sql;
}

} // namespace dataBackup
