// Chinese numerals, capital money amounts and the font strings of the print
// layout. The conversions spell the number as ASCII digits interleaved with
// unit letters, collapse the zeros with a fixed run of textual replacements
// and only then swap in the Chinese characters. Certificates printed over the
// years show exactly what this sequence yields (一亿万○, 壹拾零亿万元…), so its
// quirks are kept: re-printing an old registration must give the same text.
#include "myTools.h"
#include "reporter.h"

#include <QStringList>

namespace {

// Unit letters: s ten, b hundred, q thousand, w ten thousand, y 10^8;
// amounts add . 元, z 整, j 角, f 分.
const QString numberUnits = QStringLiteral("sbqwsbqysbqwsbq");
const QString numberAscii = QStringLiteral("0123456789sbqwy");
// The zero is U+25CB WHITE CIRCLE, as on the stationery, not U+3007.
const QString numberChinese = QStringLiteral("○一二三四五六七八九十百千万亿");

const QString amountUnits = QStringLiteral(".sbqwsbqysbqwsbq");
const QString amountAscii = QStringLiteral("0123456789sbqwy.zjf");
const QString amountChinese = QStringLiteral("零壹贰叁肆伍陆柒捌玖拾佰仟万亿元整角分");

void collapseZeros(QString &w)
{
    w.replace(QLatin1String("0q"), QLatin1String("0"));
    w.replace(QLatin1String("0b"), QLatin1String("0"));
    w.replace(QLatin1String("0s"), QLatin1String("0"));
    while (w.contains(QLatin1String("00")))
        w.replace(QLatin1String("00"), QLatin1String("0"));
    // "oy" (letter o) never occurs, so a zero in front of 亿 survives. Printed
    // certificates read 一十○亿万○一 because of it; do not "fix" it to "0y".
    w.replace(QLatin1String("oy"), QLatin1String("y"));
    w.replace(QLatin1String("0w"), QLatin1String("w"));
}

QString transliterate(QString w, const QString &ascii, const QString &chinese)
{
    for (int i = 0; i < ascii.size(); ++i)
        w.replace(ascii.at(i), chinese.at(i));
    return w;
}

void reportTooLarge() { reporter::critical(QStringLiteral("错误"), QStringLiteral("数目太大，无法换算！")); }

} // namespace

QString myTools::toChineseNumber(const QString &text) const
{
    if (text.size() > 10) {
        reportTooLarge();
        return QString();
    }
    const int n = text.size();
    QString w;
    for (int i = 0; i < n; ++i) {
        w += text.at(i);
        if (n - 2 - i >= 0)
            w += numberUnits.at(n - 2 - i);
    }
    collapseZeros(w);
    if (w.size() == 3 && w.startsWith(QLatin1String("1s")))
        w.remove(0, 1);
    return transliterate(w, numberAscii, numberChinese);
}

QString myTools::toChineseAmount(double amount) const
{
    if (amount == 0.0)
        return QString();
    if (amount > double(1e16f)) {
        reportTooLarge();
        return QString();
    }
    const QString number = QString::number(amount, 'f', 2);
    const int n = number.size();
    QString w;
    for (int i = 0; i < n - 3; ++i) {
        w += number.at(i);
        const int unit = n - 4 - i;
        if (unit < amountUnits.size())
            w += amountUnits.at(unit);
    }
    if (number.endsWith(QLatin1String(".00"))) {
        w += QLatin1Char('z');
    } else {
        const QChar jiao = number.at(n - 2);
        const QChar fen = number.at(n - 1);
        if (jiao != QLatin1Char('0'))
            w += QString(jiao) + QLatin1Char('j');
        if (fen != QLatin1Char('0'))
            w += QString(fen) + QLatin1Char('f');
    }
    collapseZeros(w);
    if (n == 5 && w.startsWith(QLatin1Char('1')))
        w.remove(0, 1);
    w.replace(QLatin1String("0."), n == 4 ? QString() : QStringLiteral("."));
    return transliterate(w, amountAscii, amountChinese);
}

QFont myTools::fontFromString(const QString &description) const
{
    // Not QFont::fromString: layouts store the point size as written by the
    // first installations, and a fractional size (10.5) must come back as the
    // 12-point fallback those installations printed with.
    const QStringList parts = description.split(QLatin1Char(','));
    QFont font;
    font.setFamily(parts.value(0));
    bool ok = false;
    const int points = parts.value(1).toInt(&ok);
    font.setPointSize(ok && points > 0 ? points : 12);
    const int weight = parts.value(4).toInt(&ok);
    if (ok)
        font.setWeight(weight);
    font.setItalic(parts.value(5).toInt() != 0);
    font.setUnderline(parts.value(6).toInt() != 0);
    font.setStrikeOut(parts.value(7).toInt() != 0);
    return font;
}
