#include "pdfText.h"

#include <QDebug>
#include <QProcess>
#include <QRegularExpression>
#include <QTextDocumentFragment>
#include <QtTest>

namespace pdfText {

QList<page> read(const QString &path)
{
    QProcess tool;
    tool.start(QStringLiteral("pdftotext"), {QStringLiteral("-bbox"), path, QStringLiteral("-")});
    tool.waitForFinished(20000);
    static const QRegularExpression tag(
        QStringLiteral("<page width=\"([\\d.]+)\" height=\"([\\d.]+)\">|"
                       "<word xMin=\"([\\d.]+)\" yMin=\"([\\d.]+)\" xMax=\"([\\d.]+)\" yMax=\"([\\d.]+)\">(.*?)</word>"));
    QList<page> pages;
    auto it = tag.globalMatch(QString::fromUtf8(tool.readAllStandardOutput()));
    while (it.hasNext()) {
        const QRegularExpressionMatch m = it.next();
        if (!m.captured(1).isEmpty())
            pages.append(page{QSizeF(m.captured(1).toDouble(), m.captured(2).toDouble()), {}});
        else if (!pages.isEmpty())
            pages.last().words.append(word{QTextDocumentFragment::fromHtml(m.captured(7)).toPlainText(),
                                           QRectF(QPointF(m.captured(3).toDouble(), m.captured(4).toDouble()),
                                                  QPointF(m.captured(5).toDouble(), m.captured(6).toDouble()))});
    }
    return pages;
}

QString allText(const page &p)
{
    QString text;
    for (const word &w : p.words)
        text += w.text;
    return text;
}

QRectF find(const page &p, const QString &text)
{
    QString joined;
    QRectF box;
    for (const word &w : p.words) {
        if (text.contains(w.text)) {
            joined += w.text;
            box |= w.box;
        }
    }
    return joined == text ? box : QRectF();
}

void checkInBox(const page &p, const QString &text, const QRectF &box, const QString &alignment)
{
    const QRectF found = find(p, text);
    QString where;
    QDebug(&where) << text << "found" << found << "box" << box << "page" << allText(p);
    QVERIFY2(box.adjusted(-1, -1, 1, 1).contains(found), qPrintable(where));
    QVERIFY2(found.top() - box.top() < 6, qPrintable(where)); // top of the box, not centred vertically
    const double off = alignment == QStringLiteral("居中")   ? found.center().x() - box.center().x()
                       : alignment == QStringLiteral("居右") ? found.right() - box.right()
                                                             : found.left() - box.left();
    QVERIFY2(qAbs(off) < 2, qPrintable(where));
}

} // namespace pdfText
