#ifndef FRMSETBACKGROUND_H
#define FRMSETBACKGROUND_H

#include <QWidget>

class QCheckBox;
class QPushButton;
class QRadioButton;
class shellHost;

// 设置背景: the picture behind the MDI area. Every change is applied to the
// main window at once; only 保存 writes it to the settings file, so a change
// that is not saved lasts until the program ends.
class frmSetBackground : public QWidget
{
    Q_OBJECT
public:
    explicit frmSetBackground(shellHost *host, QWidget *parent = nullptr);

    QCheckBox *displayBox() const { return m_display; }
    QRadioButton *stretchButton() const { return m_stretch; }
    QRadioButton *tileButton() const { return m_tile; }
    QPushButton *openButton() const { return m_open; }
    QPushButton *saveButton() const { return m_save; }

private slots:
    void btExitClicked();
    void btOpenClicked();
    void btSaveClicked();
    void chboxStateChanged();
    void rbStateChanged();
    // Applies the changed background to the main window, then offers 保存.
    void setBtSaveEnabled();

private:
    void enableChoices();

    shellHost *m_host;
    QString m_fileName;
    QCheckBox *m_display;
    QRadioButton *m_stretch;
    QRadioButton *m_tile;
    QPushButton *m_open;
    QPushButton *m_save;
};

#endif
