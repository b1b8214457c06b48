#include "sqlText.h"

namespace sqlText {

QString escaped(const QString &text)
{
    QString out = text;
    out.replace(QLatin1Char('\\'), QLatin1String("\\\\"));
    out.replace(QLatin1Char('\''), QLatin1String("''"));
    return out;
}

QString quoted(const QString &text) { return QLatin1Char('\'') + escaped(text) + QLatin1Char('\''); }

QString likeEscaped(const QString &text)
{
    // Two levels: the literal turns "\\\\" into "\\", which LIKE (whose
    // escape character is the backslash) reads as one backslash. "\%" and
    // "\_" survive the literal as they are and are escapes for LIKE.
    QString out = text;
    out.replace(QLatin1Char('\\'), QLatin1String("\\\\\\\\"));
    out.replace(QLatin1Char('%'), QLatin1String("\\%"));
    out.replace(QLatin1Char('_'), QLatin1String("\\_"));
    out.replace(QLatin1Char('\''), QLatin1String("''"));
    return out;
}

bool fitsConnection(const QString &text)
{
    for (const QChar c : text)
        if (c.isSurrogate())
            return false;
    return true;
}

} // namespace sqlText
