#pragma once

#include "InstallerWinController.h"
#include "RVInstallerView.h"

#include <QMap>
#include <QSet>
#include <QStringList>

// The window as plain state, so that the session's effects can be read back.
class FakeInstallerView : public RVInstallerView
{
public:
    QString title = QStringLiteral("%@ Installer");
    QMap<Field, QString> texts{{Field::Intro, QStringLiteral("This installs %@.")},
                               {Field::Explanation, QStringLiteral("%@ goes here.")}};
    QSet<Field> hiddenFields;
    QMap<Button, QString> buttonTitles{{Button::Cancel, QStringLiteral("Quit")}};
    QSet<Button> hiddenButtons, disabledButtons;
    QSet<Image> hiddenImages;
    QStringList readableIcons; // icon files that hold an image
    QString icon;
    int page = -1;
    QString readMe;
    bool animating = false;
    bool inFront = false;
    bool shownLater = false; // the window system shows the window only when pendingOnScreen runs
    std::function<void()> pendingOnScreen;
    struct Alert
    {
        QString message, informative, first, second;
        std::function<void(int)> answer;
    };
    std::optional<Alert> alert;
    int beeps = 0;

    QString windowTitle() const override { return title; }
    void setWindowTitle(const QString& t) override { title = t; }
    QString fieldText(Field f) const override { return texts.value(f); }
    void setFieldText(Field f, const QString& t) override { texts[f] = t; }
    void setFieldHidden(Field f, bool h) override { h ? void(hiddenFields.insert(f)) : void(hiddenFields.remove(f)); }
    void setButtonTitle(Button b, const QString& t) override { buttonTitles[b] = t; }
    void setButtonHidden(Button b, bool h) override { h ? void(hiddenButtons.insert(b)) : void(hiddenButtons.remove(b)); }
    void setButtonEnabled(Button b, bool e) override { e ? void(disabledButtons.remove(b)) : void(disabledButtons.insert(b)); }
    void setImageHidden(Image i, bool h) override { h ? void(hiddenImages.insert(i)) : void(hiddenImages.remove(i)); }
    bool setIcon(const QString& path) override
    {
        if (!readableIcons.contains(path))
            return false;
        icon = path;
        return true;
    }
    void selectPage(int p) override { page = p; }
    int selectedPage() const override { return page; }
    void loadReadMe(const QString& path) override { readMe = path; }
    void setProgressAnimating(bool a) override { animating = a; }
    void bringToFront(std::function<void()> onScreen) override
    {
        inFront = true;
        if (shownLater)
            pendingOnScreen = std::move(onScreen);
        else
            onScreen();
    }
    void showAlert(const QString& m, const QString& i, const QString& f, const QString& s,
                   std::function<void(int)> answer) override
    {
        alert = Alert{m, i, f, s, std::move(answer)};
    }
    void beep() override { ++beeps; }
};

// A session of its own on a fresh window; with words, they are its arguments after the program's path.
struct FreshSession
{
    FreshSession() { controller.setView(&view); }
    explicit FreshSession(const QStringList& words) : FreshSession()
    {
        controller.setArguments(RVInstallerArguments::fromArgumentList(QStringList{QStringLiteral("/prog")} + words));
    }
    FakeInstallerView view;
    InstallerWinController controller;
};
