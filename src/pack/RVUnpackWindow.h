#pragma once

#include <memory>
#include <string>

struct xcb_connection_t;

// The launcher's own small window: how far the unpacking got, or a message the user
// dismisses. Drawn with the X server's core requests only (libxcb, which every desktop
// has), so that the launcher needs no toolkit; on a Wayland desktop it shows through
// XWayland. Text is ASCII in the server's built-in "fixed" font.
class RVUnpackWindow
{
public:
    // A window with title on the display of $DISPLAY; null when there is none.
    static std::unique_ptr<RVUnpackWindow> open(const std::string& title);
    ~RVUnpackWindow();
    RVUnpackWindow(const RVUnpackWindow&) = delete;
    RVUnpackWindow& operator=(const RVUnpackWindow&) = delete;

    // Shows text above a bar filled to share (0 to 1), and handles what arrived for the
    // window, waiting up to waitMs for it. False once the user closed the window.
    bool showProgress(const std::string& text, double share, int waitMs);
    // Shows text with an OK button and waits until the user presses Return, Escape or the
    // button, or closes the window.
    void showMessage(const std::string& text);

private:
    RVUnpackWindow() = default;
    void draw();
    bool handleEvents(int waitMs);

    xcb_connection_t* m_connection = nullptr;
    unsigned m_window = 0;
    unsigned m_gc = 0;
    unsigned m_deleteAtom = 0;
    unsigned m_white = 0;
    unsigned m_black = 0;
    int m_charWidth = 6;
    int m_lineHeight = 13;
    int m_ascent = 10;
    std::string m_text;
    double m_share = -1; // below 0: a message, no bar
    bool m_closed = false;
    bool m_dismissed = false;
};
