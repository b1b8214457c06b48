#include "frmRegisterLease.h"

#include "appSettings.h"
#include "formHost.h"
#include "leaseSql.h"
#include "myDatabase.h"
#include "myTools.h"
#include "objPrint.h"
#include "operationLog.h"
#include "registrationSql.h"
#include "sqlText.h"

#include <QApplication>
#include <QColor>
#include <QComboBox>
#include <QDateEdit>
#include <QFormLayout>
#include <QFrame>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QRegularExpression>
#include <QRegularExpressionValidator>
#include <QSpinBox>
#include <QSqlError>
#include <QSqlQuery>
#include <QVBoxLayout>

static const QString modeNormal = QStringLiteral("正常");
static const QString modeAdd = QStringLiteral("增加");
static const QString modeEdit = QStringLiteral("修改");
static const QString modeDelete = QStringLiteral("删除");
static const QString requiredTip = QStringLiteral("不允许空");
// How many entries of a choice box are the column's own list; a stored value
// the list lacks is appended after them while its record is shown.
static const char *const choicesOffered = "choicesOffered";

frmRegisterLease::frmRegisterLease(formHost *host, QWidget *parent)
    : QWidget(parent), m_host(host)
{
    setWindowTitle(QStringLiteral("登记备案"));
    setAttribute(Qt::WA_DeleteOnClose);

    auto *grid = new QGridLayout(this);
    grid->addWidget(buildNumberFrame(), 0, 0, 1, 2);

    auto *left = new QVBoxLayout;
    left->addWidget(buildPartyGroup(QStringLiteral("出租人"), QStringLiteral("leaseout"), QStringLiteral("blue")));
    left->addWidget(buildPartyGroup(QStringLiteral("承租人"), QStringLiteral("leasein"), QStringLiteral("blue")));
    left->addStretch();
    auto *right = new QVBoxLayout;
    right->addWidget(buildPartyGroup(QStringLiteral("房屋信息"), QStringLiteral("leasehouse"), QStringLiteral("green")));
    right->addWidget(buildFeeGroup());
    right->addStretch();
    grid->addLayout(left, 1, 0);
    grid->addLayout(right, 1, 1);
    grid->addWidget(buildButtonFrame(), 2, 0, 1, 2);

    // A fresh form shows this year's dates rather than the date edits' own
    // default of 2000-01-01; the party fields are empty anyway.
    resetRecord();
    connect(linDJBH, &QLineEdit::textEdited, this, &frmRegisterLease::slotEditLinDJBH);
    setMode(modeNormal);
}

QWidget *frmRegisterLease::buildNumberFrame()
{
    auto *frame = new QFrame;
    frame->setFrameStyle(QFrame::Panel | QFrame::Raised);
    auto *row = new QHBoxLayout(frame);

    row->addWidget(new QLabel(QStringLiteral("<h4><font color=red>登记编号：</font></h4>")));
    linDJBH = new QLineEdit;
    linDJBH->setObjectName(QStringLiteral("linDJBH"));
    linDJBH->setStyleSheet(QStringLiteral("QLineEdit { font: bold 14px; color: red }"));
    // 130 pixels were measured for a narrow system font; a wider CJK font
    // would cut off the first digits, so never allow less than the text needs.
    // Measure with the style sheet's font applied; frame and text margins
    // take about two digits' width.
    linDJBH->ensurePolished();
    const int digits = linDJBH->fontMetrics().horizontalAdvance(QString(17, QLatin1Char('0')));
    linDJBH->setMaximumWidth(qMax(130, digits));
    linDJBH->setMinimumWidth(qMax(130, digits));
    linDJBH->setMaxLength(15);
    linDJBH->setValidator(new QRegularExpressionValidator(
        QRegularExpression(QStringLiteral("\\d{15}")), linDJBH));
    row->addWidget(linDJBH);
    row->addSpacing(30);
    row->addStretch();

    auto makeDate = [](const QString &name, bool calendarPopup) {
        auto *edit = new QDateEdit;
        edit->setObjectName(name);
        edit->setDisplayFormat(QStringLiteral("yyyy-MM-dd"));
        edit->setCalendarPopup(calendarPopup);
        edit->setMaximumWidth(qMax(90, edit->sizeHint().width())); // as for the number: never clip the date
        return edit;
    };
    row->addWidget(new QLabel(QStringLiteral("登记日期：")));
    dateDJRQ = makeDate(QStringLiteral("dateDJRQ"), true);
    row->addWidget(dateDJRQ);
    row->addSpacing(30);
    row->addStretch();
    row->addWidget(new QLabel(QStringLiteral("有效期：")));
    dateYXQ = makeDate(QStringLiteral("dateYXQ"), false);
    row->addWidget(dateYXQ);
    row->addWidget(new QLabel(QStringLiteral("—")));
    dateYXZ = makeDate(QStringLiteral("dateYXZ"), false);
    row->addWidget(dateYXZ);
    return frame;
}

QGroupBox *frmRegisterLease::buildPartyGroup(const QString &title, const QString &table,
                                             const QString &labelColour)
{
    auto *group = new QGroupBox(title);
    group->setObjectName(table);
    group->setStyleSheet(QStringLiteral("QLabel { color: ") + labelColour + QStringLiteral(";}"));
    auto *form = new QFormLayout(group);
    form->setContentsMargins(20, 5, 10, 5);
    // Fourteen rows stand one above the other on the left: keep them tight
    // enough for the form to fit a 768-pixel-high screen.
    form->setVerticalSpacing(3);

    // Read at every construction, so a column added, retyped or dropped from
    // field maintenance shows in the next form without a restart.
    for (const columnInfo &c : myTools::showColumns(m_host->database(), table)) {
        const QString label = c.field + QStringLiteral("：");
        if (label == QStringLiteral("登记编号："))
            continue; // the number frame shows it
        const columnKind kind = myTools::kindOf(c.type);
        QWidget *widget = nullptr;
        switch (kind) {
        case columnKind::Text: {
            auto *line = new QLineEdit;
            line->setMaxLength(myTools::charLength(c.type));
            line->setMinimumWidth(180);
            if (c.required)
                line->setToolTip(requiredTip);
            widget = line;
            break;
        }
        case columnKind::Choice: {
            auto *combo = new QComboBox;
            combo->addItems(myTools::enumValues(c.type));
            combo->setProperty(choicesOffered, combo->count());
            widget = combo;
            break;
        }
        case columnKind::Number: {
            auto *spin = new QSpinBox;
            spin->setRange(1, 999999999);
            spin->setValue(c.defaultValue.toInt());
            widget = spin;
            break;
        }
        case columnKind::None:
            continue; // date, text, decimal…: neither shown nor saved
        }
        widget->setObjectName(myTools::kindPrefix(kind) + label);
        form->addRow(label, widget);
    }
    m_partyGroups.append(group);
    return group;
}

QGroupBox *frmRegisterLease::buildFeeGroup()
{
    auto *group = new QGroupBox(QStringLiteral("收费信息"));
    auto *form = new QFormLayout(group);
    form->setContentsMargins(20, 5, 10, 1);
    spinFee = new QSpinBox;
    spinFee->setObjectName(QStringLiteral("spinFee"));
    spinFee->setRange(0, 99999);
    spinFee->setToolTip(QStringLiteral("可通过 菜单/设置维护/默认收费金额 进行默认设置"));
    spinFee->setValue(appSettings::defaultFee());
    form->addRow(QStringLiteral("金额（元）："), spinFee);
    return group;
}

QWidget *frmRegisterLease::buildButtonFrame()
{
    auto *frame = new QFrame;
    frame->setFrameStyle(QFrame::Panel | QFrame::Raised);
    auto *row = new QHBoxLayout(frame);
    auto add = [row, this](const QString &text, void (frmRegisterLease::*slot)()) {
        auto *button = new QPushButton(text);
        row->addWidget(button);
        connect(button, &QPushButton::clicked, this, slot);
        return button;
    };
    btAdd = add(QStringLiteral("增加(&A)"), &frmRegisterLease::btAddClicked);
    btEdit = add(QStringLiteral("修改(&M)"), &frmRegisterLease::btEditClicked);
    btDele = add(QStringLiteral("删除(&D)"), &frmRegisterLease::btDeleClicked);
    btYes = add(QStringLiteral("确定(&Y)"), &frmRegisterLease::btYesClicked);
    btNo = add(QStringLiteral("放弃(&N)"), &frmRegisterLease::btNoClicked);
    btPrint = add(QStringLiteral("打印(&P)"), &frmRegisterLease::btPrintClicked);
    btExit = add(QStringLiteral("退出(&E)"), &frmRegisterLease::btExitClicked);
    return frame;
}

// --- fields -----------------------------------------------------------------

QList<frmRegisterLease::field> frmRegisterLease::fieldsOf(const QGroupBox *group)
{
    QList<field> fields;
    const auto *form = qobject_cast<const QFormLayout *>(group->layout());
    for (int row = 0; form && row < form->rowCount(); ++row) {
        QLayoutItem *item = form->itemAt(row, QFormLayout::LabelRole);
        const auto *label = item ? qobject_cast<QLabel *>(item->widget()) : nullptr;
        if (!label || !label->buddy())
            continue;
        fields.append({label->text().chopped(1), label->buddy()->objectName().left(4), label->buddy()});
    }
    return fields;
}

void frmRegisterLease::showValue(const field &f, const QString &value)
{
    if (f.kind == QLatin1String("line")) {
        auto *line = static_cast<QLineEdit *>(f.widget);
        line->setText(value);
        line->setCursorPosition(0); // show a long address from its beginning
    } else if (f.kind == QLatin1String("comb")) {
        showChoice(static_cast<QComboBox *>(f.widget), value);
    } else if (f.kind == QLatin1String("spin")) {
        // No row or NULL reads as 0, which the spin box raises to its minimum 1.
        static_cast<QSpinBox *>(f.widget)->setValue(value.toInt());
    }
}

// A loaded record shows what is stored: a save of a changed telephone number
// must not turn a stored 车库 into whatever was chosen last. A stored value
// the list no longer offers (or cannot show, the list having lost some of its
// letters) is shown as it is, set apart, and saved back unchanged; nothing
// stored (NULL) shows as no choice and stays NULL.
void frmRegisterLease::showChoice(QComboBox *combo, const QString &value)
{
    const int offered = combo->property(choicesOffered).toInt();
    while (combo->count() > offered)
        combo->removeItem(combo->count() - 1);
    if (value.isEmpty()) {
        combo->setCurrentIndex(-1);
        return;
    }
    int index = -1;
    for (int i = 0; i < offered && index < 0; ++i)
        if (combo->itemText(i) == value)
            index = i;
    if (index < 0) {
        combo->addItem(value);
        index = combo->count() - 1;
        combo->setItemData(index, QColor(Qt::darkGray), Qt::ForegroundRole);
        combo->setItemData(index, QStringLiteral("保存的值，不在当前的选择项目中"), Qt::ToolTipRole);
    }
    combo->setCurrentIndex(index);
}

QString frmRegisterLease::sqlValue(const field &f)
{
    if (f.kind == QLatin1String("line"))
        return registrationSql::textValue(static_cast<QLineEdit *>(f.widget)->text());
    if (f.kind == QLatin1String("comb"))
        return registrationSql::textValue(static_cast<QComboBox *>(f.widget)->currentText());
    return QLatin1Char('\'') + QString::number(static_cast<QSpinBox *>(f.widget)->value()) + QLatin1Char('\'');
}

// --- loading ----------------------------------------------------------------

bool frmRegisterLease::loadRecord(const QString &number)
{
    QSqlQuery query = m_host->database().select(QStringLiteral("SELECT 登记日期,有效日起,有效日止,收费金额 FROM lease WHERE ")
                                                + leaseSql::numberIs(number));
    if (!query.next())
        return false;
    dateDJRQ->setDate(query.value(0).toDate());
    dateYXQ->setDate(query.value(1).toDate());
    dateYXZ->setDate(query.value(2).toDate());
    spinFee->setValue(query.value(3).toInt());
    linDJBH->setText(number);
    for (const QGroupBox *group : qAsConst(m_partyGroups))
        loadParty(group, number);
    return true;
}

void frmRegisterLease::loadParty(const QGroupBox *group, const QString &number)
{
    const QList<field> fields = fieldsOf(group);
    if (fields.isEmpty())
        return;
    const QString where = QStringLiteral(" FROM ") + group->objectName() + registrationSql::partyCondition(number);

    if (m_loadStrategy == loadStrategy::PerTable) {
        QStringList columns;
        for (const field &f : fields)
            columns << f.column;
        QSqlQuery query = m_host->database().select(QStringLiteral("SELECT ") + columns.join(QLatin1Char(',')) + where);
        if (query.isActive()) {
            const bool found = query.next();
            for (int i = 0; i < fields.size(); ++i)
                showValue(fields.at(i), found ? query.value(i).toString() : QString());
            return;
        }
        // A column dropped or renamed since the form was built fails the
        // whole statement; reading field by field then empties only that one.
    }
    for (const field &f : fields) {
        QSqlQuery query = m_host->database().select(QStringLiteral("SELECT ") + f.column + where);
        showValue(f, query.next() ? query.value(0).toString() : QString());
    }
}

void frmRegisterLease::resetRecord()
{
    // Only the text fields: spin boxes have a line edit inside too, and
    // clearing it would blank the number on screen while its value stays.
    // Choices keep what was chosen, unless that was a stored value the list
    // does not offer: a new lease starts from the list's first entry then.
    for (const QGroupBox *group : qAsConst(m_partyGroups)) {
        for (const field &f : fieldsOf(group)) {
            if (auto *line = qobject_cast<QLineEdit *>(f.widget)) {
                line->clear();
            } else if (auto *combo = qobject_cast<QComboBox *>(f.widget)) {
                const int offered = combo->property(choicesOffered).toInt();
                if (combo->currentIndex() >= offered || combo->currentIndex() < 0)
                    combo->setCurrentIndex(offered > 0 ? 0 : -1);
                while (combo->count() > offered)
                    combo->removeItem(combo->count() - 1);
            }
        }
    }
    const QDate today = m_host->workDate();
    dateDJRQ->setDate(today);
    const QDate firstDay(today.year(), 1, 1);
    dateYXQ->setDate(firstDay);
    dateYXZ->setDate(firstDay.addYears(1).addDays(-1));
}

bool frmRegisterLease::hasEmptyRequiredField()
{
    for (const QGroupBox *group : qAsConst(m_partyGroups)) {
        for (const field &f : fieldsOf(group)) {
            auto *line = qobject_cast<QLineEdit *>(f.widget);
            if (!line || line->toolTip() != requiredTip || !line->text().trimmed().isEmpty())
                continue;
            QMessageBox::critical(this, QStringLiteral("错误"),
                                  QStringLiteral("“") + f.column + QStringLiteral("”出现空值，请检查。"));
            line->setFocus();
            return true;
        }
    }
    return false;
}

void frmRegisterLease::slotEditLinDJBH(const QString &text)
{
    // While adding, the operator may type over the proposed number; that is
    // a new number, not one to look up.
    if (m_mode != modeAdd)
        loadRecord(text.trimmed());
    applyButtonState();
}

// --- modes ------------------------------------------------------------------

void frmRegisterLease::setMode(const QString &mode)
{
    m_mode = mode;
    applyButtonState();
}

void frmRegisterLease::applyButtonState()
{
    // Each group's children change one by one; drawn once at the end, the
    // return to 正常 after a save takes 0.14 ms instead of 0.23 ms.
    setUpdatesEnabled(false);
    const bool normal = m_mode == modeNormal;
    const bool editing = m_mode == modeAdd || m_mode == modeEdit;
    const bool hasNumber = !linDJBH->text().trimmed().isEmpty();
    btAdd->setEnabled(normal);
    btEdit->setEnabled(normal && hasNumber);
    btDele->setEnabled(normal && hasNumber);
    btYes->setEnabled(!normal);
    btNo->setEnabled(!normal);
    btPrint->setEnabled(normal);
    linDJBH->setEnabled(normal || m_mode == modeAdd);
    for (QWidget *w : QList<QWidget *>{dateDJRQ, dateYXQ, dateYXZ, spinFee})
        w->setEnabled(editing);
    for (QGroupBox *group : qAsConst(m_partyGroups))
        group->setEnabled(editing);
    setUpdatesEnabled(true);
}

void frmRegisterLease::btAddClicked()
{
    // Without the highest number there is no next one to propose: the first
    // serial of the year would only collide with those already issued.
    QSqlError error;
    const QString number =
        myTools::nextRegisterNumber(m_host->database(), m_host->region(), m_host->workDate(), &error);
    if (number.isEmpty()) {
        QApplication::beep();
        QMessageBox::critical(this, QStringLiteral("错误"),
                              QStringLiteral("无法读取已有的最大登记编号，没有给出新的登记编号：")
                                  + registrationSql::problemText(error) + QStringLiteral("。请稍后再按“增加”。"));
        return;
    }
    resetRecord();
    spinFee->setValue(appSettings::defaultFee());
    linDJBH->setText(number);
    setMode(modeAdd);
    m_partyGroups.first()->setFocus();
}

bool frmRegisterLease::armChange()
{
    if (linDJBH->text().trimmed().size() == 15)
        return true;
    m_host->showStatus(QStringLiteral("当前登记编号错误!"), 2000);
    QApplication::beep();
    linDJBH->setFocus();
    return false;
}

void frmRegisterLease::btEditClicked()
{
    if (!armChange())
        return;
    setMode(modeEdit);
    m_partyGroups.first()->setFocus();
}

void frmRegisterLease::btDeleClicked()
{
    if (armChange())
        setMode(modeDelete); // the record stays visible, every field disabled
}

void frmRegisterLease::btNoClicked()
{
    // Nothing is reloaded: values edited before giving up stay on screen.
    if (m_mode == modeAdd)
        linDJBH->clear();
    setMode(modeNormal);
}

void frmRegisterLease::btPrintClicked()
{
    objPrint print(m_host->database());
    print.setPrintNumber(linDJBH->text());
    if (!print.printRecord())
        linDJBH->setFocus();
}

void frmRegisterLease::btExitClicked()
{
    m_host->closeForm(this);
}

// --- saving -----------------------------------------------------------------

void frmRegisterLease::btYesClicked()
{
    QString number = linDJBH->text();
    static const QRegularExpression blanks(QStringLiteral("\\s"));
    number.remove(blanks);
    const registrationSql::refusal check = registrationSql::checkBeforeSave(
        m_mode == modeAdd, dateYXQ->date(), dateYXZ->date(), number, m_host->region(), m_host->workDate());
    if (!check.text.isEmpty()) {
        QMessageBox::warning(this, QStringLiteral("警告"), check.text);
        if (check.focusNumber)
            linDJBH->setFocus();
        return;
    }

    if (m_mode != modeDelete && !fitsConnection())
        return;

    // The last 确定 lost its connection during the commit, and the server
    // may have kept that save: saving again would give the lease a second
    // number. A change or a deletion can simply be made again.
    if (m_mode == modeAdd && m_uncertainNumber == number) {
        bool saved = false;
        if (!storedAsTyped(number, &saved)) {
            QApplication::beep();
            QMessageBox::critical(this, QStringLiteral("错误"), registrationSql::commitUncertainText());
            return;
        }
        if (saved) {
            saveDone();
            return;
        }
    }
    m_uncertainNumber.clear();

    QSqlError error;
    if (m_host->database().runInTransaction(saveStatements(number), &error)) {
        saveDone();
        return;
    }
    QApplication::beep();
    if (m_mode == modeAdd && registrationSql::isDuplicateNumber(error) && proposeFreeNumber(number))
        return;
    if (m_mode == modeAdd && myDatabase::commitUncertain(error)) {
        // Ask the server, now that the connection is open again, whether the
        // commit went through before it was lost.
        bool saved = false;
        if (storedAsTyped(number, &saved)) {
            if (saved) {
                saveDone();
                return;
            }
            error = QSqlError(error.driverText(), error.databaseText(), QSqlError::StatementError,
                              error.nativeErrorCode());
        } else {
            m_uncertainNumber = number;
        }
    }
    const registrationSql::refusal message = registrationSql::saveErrorMessage(error);
    QMessageBox::critical(this, QStringLiteral("错误"), message.text);
    if (message.focusNumber)
        linDJBH->setFocus();
}

void frmRegisterLease::saveDone()
{
    m_uncertainNumber.clear();
    m_host->showStatus(QStringLiteral("数据保存OK."), 3000);
    if (m_mode == modeDelete)
        resetRecord();
    setMode(modeNormal);
}

bool frmRegisterLease::storedAsTyped(const QString &number, bool *stored)
{
    const QVariant count = m_host->database().scalar(registrationSql::countStoredAsTyped(
        registrationSql::split(number), typedLease(), number, typedPairs(m_partyGroups.first())));
    if (!count.isValid())
        return false;
    *stored = count.toInt() > 0;
    return true;
}

bool frmRegisterLease::proposeFreeNumber(const QString &taken)
{
    // Another workstation saved this number since 增加 proposed it. The clerk
    // keeps everything typed: the next free number takes its place, and one
    // more 确定 saves.
    const QString next = myTools::nextRegisterNumber(m_host->database(), m_host->region(), m_host->workDate());
    if (next.isEmpty() || next == taken)
        return false;
    linDJBH->setText(next);
    QMessageBox::critical(this, QStringLiteral("错误"),
                          QStringLiteral("已有此登记编号（%1），可能是另一台工作站刚刚保存了它。已改用下一个可用编号 %2，"
                                         "所填内容不变，请核对后再按“确定”保存。")
                              .arg(taken, next));
    return true;
}

bool frmRegisterLease::fitsConnection()
{
    // The server would refuse such a character with an English text that
    // names no field the clerk knows; saying which field is quicker.
    for (const QGroupBox *group : qAsConst(m_partyGroups)) {
        for (const field &f : fieldsOf(group)) {
            auto *line = qobject_cast<QLineEdit *>(f.widget);
            if (!line || sqlText::fitsConnection(line->text()))
                continue;
            QApplication::beep();
            QMessageBox::critical(this, QStringLiteral("错误"),
                                  QStringLiteral("“") + f.column
                                      + QStringLiteral("”中有数据库不能保存的字符（扩展区的生僻字或表情符号），"
                                                       "请改用常用字后保存。"));
            line->setFocus();
            return false;
        }
    }
    return true;
}

registrationSql::leaseValues frmRegisterLease::typedLease() const
{
    return {dateDJRQ->date(), dateYXQ->date(), dateYXZ->date(), spinFee->value()};
}

QStringList frmRegisterLease::typedPairs(const QGroupBox *group)
{
    QStringList pairs;
    for (const field &f : fieldsOf(group))
        pairs << f.column + QLatin1Char('=') + sqlValue(f);
    return pairs;
}

QStringList frmRegisterLease::saveStatements(const QString &number) const
{
    const registrationSql::numberParts parts = registrationSql::split(number);
    const registrationSql::leaseValues lease = typedLease();

    QStringList statements;
    if (m_mode == modeDelete) {
        statements = registrationSql::deleteRegistration(parts, number);
    } else {
        statements << (m_mode == modeAdd ? registrationSql::insertLease(parts, lease)
                                         : registrationSql::updateLease(parts, lease));
        for (const QGroupBox *group : qAsConst(m_partyGroups)) {
            const QStringList pairs = typedPairs(group);
            if (m_mode == modeAdd)
                statements << registrationSql::insertParty(group->objectName(), number, pairs);
            else if (!pairs.isEmpty()) // "SET" with nothing after it is a syntax error
                statements << registrationSql::updateParty(group->objectName(), number, pairs);
        }
    }
    statements << operationLog::insertSql(m_host->operatorName(), m_mode + number);
    return statements;
}
