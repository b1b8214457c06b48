#include "frmSetRegion.h"

#include "appSettings.h"

#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRegularExpressionValidator>
#include <QVBoxLayout>

frmSetRegion::frmSetRegion(const QString &region, const QString &company, QWidget *parent)
    : QDialog(parent)
{
    setWindowTitle(QStringLiteral("设置地区代码"));

    auto *note = new QLabel(QStringLiteral("本机还没有设置本单位的地区代码。地区代码是6位数字，\n"
                                           "是每个登记编号的前6位，设置后一般不再改动。"));
    m_region = new QLineEdit(appSettings::isRegionCode(region) ? region : QString());
    m_region->setValidator(new QRegularExpressionValidator(QRegularExpression(QStringLiteral("\\d{0,6}")), m_region));
    m_region->setPlaceholderText(QStringLiteral("例如 370102"));
    m_company = new QLineEdit(company);
    m_company->setPlaceholderText(QStringLiteral("例如 某某区房屋租赁管理所"));

    auto *fields = new QFormLayout;
    fields->addRow(QStringLiteral("地区代码(&R)："), m_region);
    fields->addRow(QStringLiteral("单位名称(&C)："), m_company);

    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    m_ok = buttons->button(QDialogButtonBox::Ok);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto enableOk = [this] { m_ok->setEnabled(appSettings::isRegionCode(m_region->text())); };
    connect(m_region, &QLineEdit::textChanged, this, enableOk);
    enableOk();

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(note);
    layout->addLayout(fields);
    layout->addWidget(buttons);
}

QString frmSetRegion::region() const { return m_region->text(); }
QString frmSetRegion::company() const { return m_company->text().trimmed(); }
