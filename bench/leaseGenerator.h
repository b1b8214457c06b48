// 100 000 registrations of one year, generated the same on every run, for
// the benchmarks that need a full-size database (browse, backup). Written
// with multi-row INSERTs, one round trip per thousand rows.
#ifndef LEASEGENERATOR_H
#define LEASEGENERATOR_H

#include <QDate>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QString>
#include <QStringList>
#include <cstdio>

namespace leaseGenerator {

static const int perRegion = 50000; // two districts, so serials stay within 5 digits
static const QStringList regions = {QStringLiteral("370102"), QStringLiteral("370103")};
static const int year = 2026;
static const int batch = 1000;
// Exactly every tenth house lies on this road; no other text contains it.
static const QString searchRoad = QStringLiteral("和平路");

// A small deterministic generator: the same data on every run.
struct generator {
    quint32 state = 20260101u;
    quint32 next()
    {
        state = state * 1664525u + 1013904223u;
        return state >> 8;
    }
    int below(int n) { return int(next() % quint32(n)); }
    QString pick(const QStringList &list) { return list.at(below(list.size())); }
    QString digits(int count)
    {
        QString text;
        for (int i = 0; i < count; ++i)
            text += QChar('0' + below(10));
        return text;
    }
};

static const QStringList surnames = QString::fromUtf8(
    "王 李 张 刘 陈 杨 黄 赵 吴 周 徐 孙 马 朱 胡 郭 何 高 林 罗 郑 梁 谢 宋 唐 许 韩 冯 邓 曹 彭 曾 肖 田 董 袁 潘 于 蒋 蔡")
                                 .split(QLatin1Char(' '));
static const QStringList given = QString::fromUtf8(
    "伟 芳 娜 秀英 敏 静 丽 强 磊 军 洋 勇 艳 杰 娟 涛 明 超 秀兰 霞 平 刚 桂英 华 玉兰 建华 建国 志强 海燕 晓东 文 斌 鹏 宇 浩 欣 婷 雪 琳 凯")
                              .split(QLatin1Char(' '));
static const QStringList companies = QString::fromUtf8(
    "鲁信置业有限公司 泉城物业管理有限公司 历下商贸有限公司 华联房产经纪有限公司 齐鲁建设集团")
                                  .split(QLatin1Char(' '));
static const QStringList districts = QString::fromUtf8("历下区 市中区 槐荫区 天桥区 历城区").split(QLatin1Char(' '));
static const QStringList roads = QString::fromUtf8(
    "经十路 解放路 泉城路 历山路 文化东路 山大路 花园路 工业南路 二环东路 英雄山路 舜耕路 旅游路")
                              .split(QLatin1Char(' '));

inline QString personName(generator &g)
{
    return g.pick(surnames) + g.pick(given);
}

inline QString mobile(generator &g)
{
    static const QStringList prefixes = {"130", "133", "135", "136", "138", "139", "150", "151", "158", "186", "189"};
    return g.pick(prefixes) + g.digits(8);
}

inline QString idNumber(generator &g)
{
    return QStringLiteral("3701") + g.digits(2) + QStringLiteral("19") + QString::number(50 + g.below(50))
        + QStringLiteral("%1%2").arg(1 + g.below(12), 2, 10, QChar('0')).arg(1 + g.below(28), 2, 10, QChar('0'))
        + g.digits(4);
}

inline QString address(generator &g, const QString &road)
{
    return QStringLiteral("济南市") + g.pick(districts) + road + QString::number(1 + g.below(300))
        + QStringLiteral("号") + QString::number(1 + g.below(20)) + QStringLiteral("号楼")
        + QString::number(1 + g.below(4)) + QStringLiteral("单元") + QString::number(101 + g.below(20) * 100 + g.below(4))
        + QStringLiteral("室");
}

inline QString q(const QString &text)
{
    return QLatin1Char('\'') + text + QLatin1Char('\'');
}

inline bool run(const QString &sql)
{
    QSqlQuery query;
    if (query.exec(sql))
        return true;
    std::fprintf(stderr, "statement failed: %s\n", qPrintable(sql.left(200)));
    return false;
}

// Multi-row INSERTs of one batch per table, the whole load in one
// transaction: one round trip per thousand rows instead of per row.
inline bool load()
{
    generator g;
    QSqlDatabase db = QSqlDatabase::database();
    db.transaction();
    int row = 0;
    const QDate first(year, 1, 1);
    for (const QString &region : regions) {
        for (int start = 1; start <= perRegion; start += batch) {
            QStringList lease, out, in, house;
            for (int serial = start; serial < start + batch && serial <= perRegion; ++serial, ++row) {
                const QString number = region + QString::number(year * 100000 + serial);
                const QDate date = first.addDays(serial * 365 / (perRegion + 1));
                lease << QStringLiteral("(%1,%2,%3,'%4','%4','%5',%6)")
                             .arg(q(region))
                             .arg(year)
                             .arg(serial)
                             .arg(date.toString(Qt::ISODate), date.addYears(1).addDays(-1).toString(Qt::ISODate))
                             .arg(100 + 20 * g.below(11));
                const bool company = g.below(8) == 0;
                out << QStringLiteral("(%1,%2,%3,%4,%5,%6,%7)")
                           .arg(q(number), q(company ? g.pick(companies) : personName(g)),
                                q(company ? QStringLiteral("单位") : QStringLiteral("个人")), q(idNumber(g)),
                                q(g.below(5) ? mobile(g) : QStringLiteral("0531-8") + g.digits(7)),
                                q(address(g, g.pick(roads))), q(g.below(6) ? QString() : personName(g)));
                in << QStringLiteral("(%1,%2,%3,%4,%5,%6)")
                          .arg(q(number), q(personName(g)), q(idNumber(g)), q(mobile(g)),
                               q(QStringLiteral("山东省") + g.pick(districts) + QStringLiteral("某村")),
                               QString::number(1 + g.below(5)));
                house << QStringLiteral("(%1,%2,%3,%4,%5)")
                             .arg(q(number), q(address(g, row % 10 == 0 ? searchRoad : g.pick(roads))),
                                  q(QStringLiteral("济房权证字第") + g.digits(7) + QStringLiteral("号")))
                             .arg(40 + g.below(120))
                             .arg(500 + 100 * g.below(30));
            }
            if (!run(QStringLiteral("INSERT INTO lease (地区,年度,编号,登记日期,有效日起,有效日止,收费金额) VALUES ")
                     + lease.join(QLatin1Char(',')))
                || !run(QStringLiteral("INSERT INTO leaseout (登记编号,出方名称,出方类别,出方证件号码,出方电话,出方地址,委托代理人) VALUES ")
                        + out.join(QLatin1Char(',')))
                || !run(QStringLiteral("INSERT INTO leasein (登记编号,承方名称,承方证件号码,承方电话,户籍地址,居住人数) VALUES ")
                        + in.join(QLatin1Char(',')))
                || !run(QStringLiteral("INSERT INTO leasehouse (登记编号,房屋坐落,房产证号,建筑面积,月租金) VALUES ")
                        + house.join(QLatin1Char(',')))) {
                db.rollback();
                return false;
            }
        }
    }
    return db.commit();
}

} // namespace leaseGenerator

#endif
