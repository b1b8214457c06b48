#ifndef GBTEXT_H
#define GBTEXT_H

#include <QByteArray>
#include <QString>

class QTextCodec;

// The one home of the GB18030 encoding. Settings, account names, exports and
// the data files beside the program are GB18030 for compatibility with files
// earlier installations wrote; everything else in the program is Unicode.
// Keeping every use here means a later port touches one file.
namespace gbText {

QTextCodec *codec();
QByteArray encode(const QString &text);
QString decode(const QByteArray &bytes);

// Reads a whole GB18030 text file; false when it cannot be opened.
bool readFile(const QString &path, QString *text);

} // namespace gbText

#endif
