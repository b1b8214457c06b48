#include "frmSetBackground.h"
#include "appSettings.h"
#include "formHost.h"
#include "myDatabase.h"

#include <QCheckBox>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

frmSetBackground::frmSetBackground(shellHost *host, QWidget *parent)
    : QWidget(parent), m_host(host)
    , m_fileName(host->backgroundFile())
{
    setWindowTitle(QStringLiteral("设置背景"));

    m_display = new QCheckBox(QStringLiteral("显示背景"));
    m_stretch = new QRadioButton(QStringLiteral("拉伸    "));
    m_tile = new QRadioButton(QStringLiteral("平铺"));
    m_open = new QPushButton(QStringLiteral("文件(&O)"));
    m_save = new QPushButton(QStringLiteral("保存(&S)"));
    auto *exit = new QPushButton(QStringLiteral("退出(&E)"));

    // Start from what the main window shows now, before any signal is
    // connected, so opening the dialog changes nothing and offers no save.
    m_display->setChecked(host->backgroundDisplay());
    m_stretch->setChecked(host->backgroundFill());
    m_tile->setChecked(!host->backgroundFill());
    m_save->setEnabled(false);
    enableChoices();

    auto *fill = new QHBoxLayout;
    fill->addWidget(m_stretch);
    fill->addWidget(m_tile);
    fill->addStretch();
    fill->addWidget(m_open);
    auto *buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(m_save);
    buttons->addWidget(exit);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(m_display);
    layout->addLayout(fill);
    layout->addStretch();
    layout->addLayout(buttons);

    connect(m_display, &QCheckBox::stateChanged, this, &frmSetBackground::chboxStateChanged);
    connect(m_stretch, &QRadioButton::toggled, this, &frmSetBackground::rbStateChanged);
    connect(m_tile, &QRadioButton::toggled, this, &frmSetBackground::rbStateChanged);
    connect(m_open, &QPushButton::clicked, this, &frmSetBackground::btOpenClicked);
    connect(m_save, &QPushButton::clicked, this, &frmSetBackground::btSaveClicked);
    connect(exit, &QPushButton::clicked, this, &frmSetBackground::btExitClicked);
}

void frmSetBackground::enableChoices()
{
    const bool on = m_display->isChecked();
    m_stretch->setEnabled(on);
    m_tile->setEnabled(on);
    m_open->setEnabled(on);
}

void frmSetBackground::btExitClicked()
{
    m_host->closeForm(this);
}

void frmSetBackground::btOpenClicked()
{
    const QString name = QFileDialog::getOpenFileName(this, QStringLiteral("打开图片"), QString(),
                                                      QStringLiteral("图片文件 (*.png *.jpg *.bmp)"));
    if (name.isEmpty())
        return;
    m_fileName = name;
    m_host->setBackground(name, m_host->backgroundDisplay(), m_host->backgroundFill());
    setBtSaveEnabled();
}

void frmSetBackground::btSaveClicked()
{
    auto settings = appSettings::open();
    appSettings::setValue(*settings, appSettings::key::backgroundFile, m_fileName);
    appSettings::setValue(*settings, appSettings::key::backgroundDisplay, m_display->isChecked());
    appSettings::setValue(*settings, appSettings::key::backgroundFill, m_stretch->isChecked());
    m_host->showStatus(QStringLiteral("设置已保存"));
    m_save->setEnabled(false);
}

void frmSetBackground::chboxStateChanged()
{
    enableChoices();
    m_host->setBackground(m_host->backgroundFile(), m_display->isChecked(), m_host->backgroundFill());
    setBtSaveEnabled();
}

void frmSetBackground::rbStateChanged()
{
    m_host->setBackground(m_host->backgroundFile(), m_host->backgroundDisplay(), m_stretch->isChecked());
    setBtSaveEnabled();
}

void frmSetBackground::setBtSaveEnabled()
{
    m_host->applyBackground();
    m_save->setEnabled(true);
}
