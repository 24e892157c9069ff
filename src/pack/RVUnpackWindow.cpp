#include "RVUnpackWindow.h"

#include <xcb/xcb.h>

#include <poll.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

constexpr int kWidth = 440;
constexpr int kHeight = 120;
constexpr int kMargin = 16;
constexpr int kButtonWidth = 72;
constexpr int kButtonHeight = 24;
// Key codes of Return, keypad Enter, Escape and space on every evdev-based X server.
constexpr xcb_keycode_t kDismissKeys[] = {36, 104, 9, 65};

xcb_atom_t atom(xcb_connection_t* c, const char* name)
{
    xcb_intern_atom_reply_t* reply =
        xcb_intern_atom_reply(c, xcb_intern_atom(c, 0, std::uint16_t(std::strlen(name)), name), nullptr);
    const xcb_atom_t result = reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
    std::free(reply);
    return result;
}

// Lines of at most columns characters, broken at spaces.
std::vector<std::string> wrap(const std::string& text, std::size_t columns)
{
    std::vector<std::string> lines;
    std::string line;
    std::size_t start = 0;
    while (start < text.size()) {
        std::size_t end = text.find(' ', start);
        if (end == std::string::npos)
            end = text.size();
        const std::string word = text.substr(start, end - start);
        if (!line.empty() && line.size() + 1 + word.size() > columns) {
            lines.push_back(line);
            line.clear();
        }
        line += (line.empty() ? "" : " ") + word;
        start = end + 1;
    }
    if (!line.empty())
        lines.push_back(line);
    return lines;
}

// The core font draws Latin-1; what else the text holds becomes '?'.
std::string printable(const std::string& text)
{
    std::string out;
    for (const unsigned char c : text)
        if (c < 0x80)
            out.push_back(c >= 0x20 ? char(c) : ' ');
        else if ((c & 0xC0) == 0xC0)
            out.push_back('?');
    return out;
}

} // namespace

std::unique_ptr<RVUnpackWindow> RVUnpackWindow::open(const std::string& title)
{
    const char* display = std::getenv("DISPLAY");
    if (!display || !*display)
        return nullptr;
    xcb_connection_t* c = xcb_connect(display, nullptr);
    if (xcb_connection_has_error(c)) {
        xcb_disconnect(c);
        return nullptr;
    }
    std::unique_ptr<RVUnpackWindow> window(new RVUnpackWindow);
    window->m_connection = c;
    xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(c)).data;
    window->m_white = screen->white_pixel;
    window->m_black = screen->black_pixel;

    window->m_window = xcb_generate_id(c);
    const std::uint32_t values[] = {0xEDEDED,
                                    XCB_EVENT_MASK_EXPOSURE | XCB_EVENT_MASK_KEY_PRESS | XCB_EVENT_MASK_BUTTON_PRESS};
    xcb_create_window(c, XCB_COPY_FROM_PARENT, window->m_window, screen->root,
                      std::int16_t((screen->width_in_pixels - kWidth) / 2),
                      std::int16_t((screen->height_in_pixels - kHeight) / 2), kWidth, kHeight, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual, XCB_CW_BACK_PIXEL | XCB_CW_EVENT_MASK,
                      values);
    xcb_change_property(c, XCB_PROP_MODE_REPLACE, window->m_window, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, 8,
                        std::uint32_t(title.size()), title.data());
    xcb_change_property(c, XCB_PROP_MODE_REPLACE, window->m_window, atom(c, "_NET_WM_NAME"), atom(c, "UTF8_STRING"), 8,
                        std::uint32_t(title.size()), title.data());
    const char windowClass[] = "velmora-launcher\0Velmora-launcher";
    xcb_change_property(c, XCB_PROP_MODE_REPLACE, window->m_window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 8,
                        sizeof windowClass, windowClass);
    const xcb_atom_t dialog = atom(c, "_NET_WM_WINDOW_TYPE_DIALOG");
    xcb_change_property(c, XCB_PROP_MODE_REPLACE, window->m_window, atom(c, "_NET_WM_WINDOW_TYPE"), XCB_ATOM_ATOM, 32,
                        1, &dialog);
    window->m_deleteAtom = atom(c, "WM_DELETE_WINDOW");
    const xcb_atom_t protocols = atom(c, "WM_PROTOCOLS");
    xcb_change_property(c, XCB_PROP_MODE_REPLACE, window->m_window, protocols, XCB_ATOM_ATOM, 32, 1,
                        &window->m_deleteAtom);

    const xcb_font_t font = xcb_generate_id(c);
    const char fontName[] = "fixed";
    xcb_void_cookie_t opened = xcb_open_font_checked(c, font, sizeof fontName - 1, fontName);
    xcb_generic_error_t* error = xcb_request_check(c, opened);
    window->m_gc = xcb_generate_id(c);
    if (!error) {
        if (xcb_query_font_reply_t* metrics = xcb_query_font_reply(c, xcb_query_font(c, font), nullptr)) {
            window->m_charWidth = std::max<int>(1, metrics->max_bounds.character_width);
            window->m_ascent = metrics->font_ascent;
            window->m_lineHeight = metrics->font_ascent + metrics->font_descent + 2;
            std::free(metrics);
        }
        const std::uint32_t gcValues[] = {screen->black_pixel, 0xEDEDED, font};
        xcb_create_gc(c, window->m_gc, window->m_window, XCB_GC_FOREGROUND | XCB_GC_BACKGROUND | XCB_GC_FONT,
                      gcValues);
        xcb_close_font(c, font);
    } else {
        std::free(error);
        const std::uint32_t gcValues[] = {screen->black_pixel, 0xEDEDED};
        xcb_create_gc(c, window->m_gc, window->m_window, XCB_GC_FOREGROUND | XCB_GC_BACKGROUND, gcValues);
    }
    xcb_map_window(c, window->m_window);
    xcb_flush(c);
    return window;
}

RVUnpackWindow::~RVUnpackWindow()
{
    xcb_destroy_window(m_connection, m_window);
    xcb_flush(m_connection);
    xcb_disconnect(m_connection);
}

void RVUnpackWindow::draw()
{
    xcb_connection_t* c = m_connection;
    xcb_clear_area(c, 0, m_window, 0, 0, 0, 0);
    const auto columns = std::size_t((kWidth - 2 * kMargin) / m_charWidth);
    int y = kMargin + m_ascent;
    for (const std::string& line : wrap(printable(m_text), columns)) {
        if (y > kHeight - kButtonHeight - kMargin)
            break;
        xcb_image_text_8(c, std::uint8_t(std::min<std::size_t>(line.size(), 255)), m_window, m_gc, kMargin,
                         std::int16_t(y), line.data());
        y += m_lineHeight;
    }
    const std::uint32_t black[] = {m_black};
    if (m_share >= 0) {
        const int barWidth = kWidth - 2 * kMargin;
        const xcb_rectangle_t outline{kMargin, kHeight - kMargin - 18, std::uint16_t(barWidth), 18};
        const xcb_rectangle_t filled{kMargin, kHeight - kMargin - 18,
                                     std::uint16_t(barWidth * std::clamp(m_share, 0.0, 1.0)), 18};
        xcb_change_gc(c, m_gc, XCB_GC_FOREGROUND, black);
        xcb_poly_rectangle(c, m_window, m_gc, 1, &outline);
        const std::uint32_t blue[] = {0x3465A4};
        xcb_change_gc(c, m_gc, XCB_GC_FOREGROUND, blue);
        xcb_poly_fill_rectangle(c, m_window, m_gc, 1, &filled);
        xcb_change_gc(c, m_gc, XCB_GC_FOREGROUND, black);
    } else {
        const xcb_rectangle_t button{kWidth - kMargin - kButtonWidth, kHeight - kMargin - kButtonHeight, kButtonWidth,
                                     kButtonHeight};
        xcb_change_gc(c, m_gc, XCB_GC_FOREGROUND, black);
        xcb_poly_rectangle(c, m_window, m_gc, 1, &button);
        xcb_image_text_8(c, 2, m_window, m_gc, std::int16_t(button.x + (kButtonWidth - 2 * m_charWidth) / 2),
                         std::int16_t(button.y + (kButtonHeight + m_ascent) / 2 - 1), "OK");
    }
    xcb_flush(c);
}

bool RVUnpackWindow::handleEvents(int waitMs)
{
    pollfd ready{xcb_get_file_descriptor(m_connection), POLLIN, 0};
    ::poll(&ready, 1, waitMs);
    bool redraw = false;
    while (xcb_generic_event_t* event = xcb_poll_for_event(m_connection)) {
        switch (event->response_type & 0x7f) {
        case XCB_EXPOSE:
            redraw = true;
            break;
        case XCB_KEY_PRESS: {
            const xcb_keycode_t key = reinterpret_cast<xcb_key_press_event_t*>(event)->detail;
            if (std::find(std::begin(kDismissKeys), std::end(kDismissKeys), key) != std::end(kDismissKeys))
                m_dismissed = true;
            break;
        }
        case XCB_BUTTON_PRESS: {
            const auto* press = reinterpret_cast<xcb_button_press_event_t*>(event);
            if (m_share < 0 && press->event_x >= kWidth - kMargin - kButtonWidth &&
                press->event_y >= kHeight - kMargin - kButtonHeight)
                m_dismissed = true;
            break;
        }
        case XCB_CLIENT_MESSAGE:
            if (reinterpret_cast<xcb_client_message_event_t*>(event)->data.data32[0] == m_deleteAtom)
                m_closed = true;
            break;
        default:
            break;
        }
        std::free(event);
    }
    if (xcb_connection_has_error(m_connection))
        m_closed = true;
    if (redraw)
        draw();
    return !m_closed;
}

bool RVUnpackWindow::showProgress(const std::string& text, double share, int waitMs)
{
    if (text != m_text || int(share * 200) != int(m_share * 200)) {
        m_text = text;
        m_share = share;
        draw();
    }
    return handleEvents(waitMs);
}

void RVUnpackWindow::showMessage(const std::string& text)
{
    m_text = text;
    m_share = -1;
    m_dismissed = false;
    draw();
    while (!m_dismissed && handleEvents(-1)) {
    }
}
