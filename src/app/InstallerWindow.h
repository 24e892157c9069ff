#pragma once

#include "RVInstallerView.h"

#include <QDialog>

#include <memory>

namespace Ui {
class InstallerWindow;
}
class InstallerWinController;

// The installer window: the interface file's controls, shown to the session through the
// view interface. Its buttons call the session's actions.
class InstallerWindow : public QDialog, public RVInstallerView
{
    Q_OBJECT

public:
    // Lays the application out right to left when the loaded string table is of such a
    // language (Arabic), left to right otherwise. Before the window is made.
    static void followLanguageDirection();
    // A dark palette when the desktop prefers a dark colour scheme. Before the window is made.
    static void followColourScheme(bool dark);
    explicit InstallerWindow(QWidget* parent = nullptr);
    ~InstallerWindow() override;
    void connectController(InstallerWinController* controller);

    QString windowTitle() const override;
    void setWindowTitle(const QString& title) override;
    QString fieldText(Field field) const override;
    void setFieldText(Field field, const QString& text) override;
    void setFieldHidden(Field field, bool hidden) override;
    void setButtonTitle(Button button, const QString& title) override;
    void setButtonHidden(Button button, bool hidden) override;
    void setButtonEnabled(Button button, bool enabled) override;
    void setImageHidden(Image image, bool hidden) override;
    bool setIcon(const QString& path) override;
    void selectPage(int page) override;
    int selectedPage() const override;
    void loadReadMe(const QString& path) override;
    void setProgressAnimating(bool animating) override;
    void bringToFront(std::function<void()> onScreen) override;
    void showAlert(const QString& message, const QString& informative, const QString& first,
                   const QString& second, std::function<void(int)> answer) override;
    void beep() override;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void reject() override;

private:
    class QLabel* label(Field field) const;
    class QPushButton* button(Button button) const;
    class QTextBrowser* readMeView();

    std::unique_ptr<Ui::InstallerWindow> m_ui;
    InstallerWinController* m_controller = nullptr;
    class QTextBrowser* m_readMeView = nullptr; // made on first use
    std::function<void()> m_onScreen;
};
