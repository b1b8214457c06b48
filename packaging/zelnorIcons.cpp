// Writes the program's icon as PNG files of the given sizes for the desktop's
// icon theme: <output folder>/<size>/<file name>.
//   zelnor-icons ICON OUTPUT_FOLDER FILE_NAME SIZE...
#include <QCoreApplication>
#include <QDir>
#include <QImage>
#include <QImageReader>
#include <cstdio>

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv); // image format plugins (.ico) load through it
    const QStringList args = app.arguments();
    if (args.size() < 5) {
        std::fprintf(stderr, "usage: zelnor-icons ICON OUTPUT_FOLDER FILE_NAME SIZE...\n");
        return 2;
    }
    // An .ico may hold several pictures; start from the largest.
    QImageReader reader(args.at(1));
    QImage best;
    while (reader.canRead()) {
        const QImage image = reader.read();
        if (image.isNull())
            break;
        if (image.width() * image.height() > best.width() * best.height())
            best = image;
    }
    if (best.isNull()) {
        std::fprintf(stderr, "zelnor-icons: cannot read %s: %s\n", qPrintable(args.at(1)),
                     qPrintable(reader.errorString()));
        return 1;
    }
    best = best.convertToFormat(QImage::Format_ARGB32);
    for (int i = 4; i < args.size(); ++i) {
        bool ok = false;
        const int size = args.at(i).toInt(&ok);
        if (!ok || size <= 0) {
            std::fprintf(stderr, "zelnor-icons: not a size: %s\n", qPrintable(args.at(i)));
            return 2;
        }
        const QString folder = args.at(2) + QLatin1Char('/') + QString::number(size);
        const QString file = folder + QLatin1Char('/') + args.at(3);
        const QImage scaled = best.scaled(size, size, Qt::KeepAspectRatio, Qt::SmoothTransformation);
        if (!QDir().mkpath(folder) || !scaled.save(file, "PNG")) {
            std::fprintf(stderr, "zelnor-icons: cannot write %s\n", qPrintable(file));
            return 1;
        }
    }
    return 0;
}
