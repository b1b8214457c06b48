#include "objPrint.h"

objPrint::objPrint(QObject *parent)
    : QObject(parent)
{
}

bool objPrint::printRecord()
{
    return false;
}
