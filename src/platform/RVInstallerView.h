#pragma once

#include <QString>

#include <functional>

// The installer window as the session sees it: its controls by role. The widgets live in
// src/app; tests use a fake. Every call happens on the main thread.
class RVInstallerView
{
public:
    virtual ~RVInstallerView() = default;

    enum class Field { Name, Intro, Path, Explanation, Message };
    enum class Button { Install, Cancel, Help };
    enum class Image { Icon, Checkmark };

    virtual QString windowTitle() const = 0;
    virtual void setWindowTitle(const QString& title) = 0;
    // The texts as the interface file has them (formats with one placeholder).
    virtual QString fieldText(Field field) const = 0;
    virtual void setFieldText(Field field, const QString& text) = 0;
    virtual void setFieldHidden(Field field, bool hidden) = 0;
    virtual void setButtonTitle(Button button, const QString& title) = 0;
    virtual void setButtonHidden(Button button, bool hidden) = 0;
    virtual void setButtonEnabled(Button button, bool enabled) = 0;
    virtual void setImageHidden(Image image, bool hidden) = 0;
    // Shows an icon in the icon view and as the application's icon: an image file, or a name
    // in the desktop's icon theme (an absolute path or a name, as a desktop entry's Icon key
    // has it); false when it gives no image.
    virtual bool setIcon(const QString& icon) = 0;
    virtual void selectPage(int page) = 0;
    virtual int selectedPage() const = 0;
    // Loads a document (RTF, RTFD folder, HTML, Markdown or plain text, told by its content)
    // into the read-me view; one that cannot be read leaves the view empty.
    virtual void loadReadMe(const QString& path) = 0;
    virtual void setProgressAnimating(bool animating) = 0;
    // Centers the window and shows it in front; onScreen runs once the window system shows it
    // (at once if it already does), when it can be made the active window.
    virtual void bringToFront(std::function<void()> onScreen) = 0;
    // A window-modal alert; answer receives 1000 for the first button, 1001 for the second.
    virtual void showAlert(const QString& message, const QString& informative, const QString& first,
                           const QString& second, std::function<void(int)> answer) = 0;
    virtual void beep() = 0;
};
