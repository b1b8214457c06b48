#ifndef OBJPRINT_H
#define OBJPRINT_H

#include <QObject>
#include <QString>

// Prints one registration onto the pre-printed certificate.
class objPrint : public QObject
{
    Q_OBJECT
public:
    explicit objPrint(QObject *parent = nullptr);
    void setPrintNumber(const QString &number) { m_number = number; }
    // False only when the number was refused (the message is already shown).
    bool printRecord();

private:
    QString m_number;
};

#endif
