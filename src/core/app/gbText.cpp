#include "gbText.h"

#include <QFile>
#include <QTextCodec>

namespace gbText {

QTextCodec *codec()
{
    static QTextCodec *const c = QTextCodec::codecForName("GB18030");
    return c;
}

QByteArray encode(const QString &text)
{
    return codec()->fromUnicode(text);
}

QString decode(const QByteArray &bytes)
{
    return codec()->toUnicode(bytes);
}

bool readFile(const QString &path, QString *text)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    *text = decode(file.readAll());
    return true;
}

} // namespace gbText
