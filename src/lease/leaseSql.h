#ifndef LEASESQL_H
#define LEASESQL_H

#include <QString>

// SQL texts that several subsystems must agree on word for word.
namespace leaseSql {

// The 15-digit registration number of a lease row: region + year*100000 + serial.
inline QString numberExpr() { return QStringLiteral("CONCAT(地区,年度*100000+编号)"); }

// The joined view of one lease. The inner join with leaseout is intended: a
// lease without a lessor row is invisible to browse, search and printing.
inline QString joinedView()
{
    return QStringLiteral("FROM lease,leaseout LEFT JOIN leasein USING (登记编号) "
                          "LEFT JOIN leasehouse USING (登记编号)  WHERE ")
        + numberExpr() + QStringLiteral("=leaseout.登记编号");
}

} // namespace leaseSql

#endif
