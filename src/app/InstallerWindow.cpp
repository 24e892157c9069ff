#include "InstallerWindow.h"

#include "BusyProgressAccessible.h"
#include "InstallerWinController.h"
#include "RVBundle.h"
#include "RVFileRead.h"
#include "RVLocalization.h"
#include "RVRichText.h"
#include "ui_InstallerWindow.h"

#include <QApplication>
#include <QBuffer>
#include <QGuiApplication>
#include <QCloseEvent>
#include <QFile>
#include <QFileInfo>
#include <QImageReader>
#include <QLocale>
#include <QLabel>
#include <QMessageBox>
#include <QPalette>
#include <QScreen>
#include <QStyle>
#include <QTextBrowser>
#include <QWindow>

#include <xcb/xcb.h>

InstallerWindow::InstallerWindow(QWidget* parent) : QDialog(parent), m_ui(std::make_unique<Ui::InstallerWindow>())
{
    BusyProgressAccessible::install();
    m_ui->setupUi(this);
    m_ui->progressIndicator->setVisible(false);
    // Product names and paths come from outside: "<b>" in a name is three characters.
    for (QLabel* field : findChildren<QLabel*>())
        field->setTextFormat(Qt::PlainText);
    // What a screen reader says of the controls that show no words of their own.
    const auto name = [](QWidget* widget, const char* key) {
        widget->setAccessibleName(RVLocalizedString(QString::fromUtf8(key)));
    };
    name(m_ui->iconField, "Product icon");
    name(m_ui->checkmarkField, "Installation complete");
    name(m_ui->progressIndicator, "Installation in progress");
    // The path is the destination's name; what it is, is said as its description.
    m_ui->pathField->setAccessibleDescription(RVLocalizedString(QStringLiteral("Destination folder")));
    name(m_ui->helpButton, "Documentation");
}

InstallerWindow::~InstallerWindow() = default;

void InstallerWindow::connectController(InstallerWinController* controller)
{
    m_controller = controller;
    connect(m_ui->installButton, &QPushButton::clicked, controller, &InstallerWinController::install);
    connect(m_ui->cancelButton, &QPushButton::clicked, controller, &InstallerWinController::cancel);
    connect(m_ui->helpButton, &QPushButton::clicked, controller, &InstallerWinController::openDocumentation);
}

QLabel* InstallerWindow::label(Field field) const
{
    switch (field) {
    case Field::Name: return m_ui->nameField;
    case Field::Intro: return m_ui->introField;
    case Field::Path: return m_ui->pathField;
    case Field::Explanation: return m_ui->explanationField;
    case Field::Message: return m_ui->messageField;
    }
    return nullptr;
}

QPushButton* InstallerWindow::button(Button which) const
{
    switch (which) {
    case Button::Install: return m_ui->installButton;
    case Button::Cancel: return m_ui->cancelButton;
    case Button::Help: return m_ui->helpButton;
    }
    return nullptr;
}

QString InstallerWindow::windowTitle() const
{
    return QDialog::windowTitle();
}

void InstallerWindow::setWindowTitle(const QString& title)
{
    QDialog::setWindowTitle(title);
}

QString InstallerWindow::fieldText(Field field) const
{
    return label(field)->text();
}

void InstallerWindow::setFieldText(Field field, const QString& text)
{
    // The system's messages break lines with a carriage return.
    QString shown = text;
    shown.replace(u'\r', u'\n');
    label(field)->setText(shown);
}

void InstallerWindow::setFieldHidden(Field field, bool hidden)
{
    label(field)->setHidden(hidden);
    if (field == Field::Path)
        m_ui->destinationLabel->setHidden(hidden);
}

void InstallerWindow::setButtonTitle(Button which, const QString& title)
{
    button(which)->setText(title);
}

void InstallerWindow::setButtonHidden(Button which, bool hidden)
{
    button(which)->setHidden(hidden);
}

void InstallerWindow::setButtonEnabled(Button which, bool enabled)
{
    button(which)->setEnabled(enabled);
}

namespace {

// A read-me is text with a few pictures; a bigger file is not one.
constexpr qint64 kMaxReadMeSize = 64 * 1024 * 1024;

// An image file drawn within side × side points at the given density, from its largest
// image. The file is the product's: read only when it is a regular file of sane size, so that
// a FIFO there cannot hang the window. Qt asks every image plugin whether it reads a file
// before its own PNG reader does, loading them all (a few milliseconds of the start-up); a
// PNG is read by the built-in reader alone.
QPixmap imageFromFile(const QString& path, int side, qreal ratio)
{
    const auto bytes = RVFileRead::regularFile(path, 64 * 1024 * 1024);
    if (!bytes.data)
        return {};
    QBuffer buffer;
    buffer.setData(*bytes.data);
    buffer.open(QIODevice::ReadOnly);
    const bool png = bytes.data->startsWith(QByteArrayLiteral("\x89PNG\r\n\x1a\n"));
    QImageReader reader(&buffer, png ? QByteArray("png") : QFileInfo(path).suffix().toLatin1());
    reader.setAutoDetectImageFormat(!png);
    const int pixels = qRound(side * ratio);
    if (reader.format() == "svg")
        reader.setScaledSize(QSize(pixels, pixels));
    QImage image;
    for (int i = 0; i < std::max(1, reader.imageCount()); ++i) {
        if (i > 0 && !reader.jumpToImage(i))
            break;
        const QImage next = reader.read();
        if (next.width() * next.height() > image.width() * image.height())
            image = next;
    }
    if (image.width() > pixels || image.height() > pixels)
        image = image.scaled(pixels, pixels, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    image.setDevicePixelRatio(ratio);
    return QPixmap::fromImage(std::move(image));
}

} // namespace

void InstallerWindow::setImageHidden(Image image, bool hidden)
{
    // The check mark is only seen at the end; reading it then keeps it off the start-up.
    if (image == Image::Checkmark && !hidden && m_ui->checkmarkField->pixmap().isNull())
        if (const auto bundle = RVBundle::mainBundle()) {
            // Drawn from the large source at the screen's own density: sharp at 1.5x and 2x.
            const QString checkmark = bundle->pathForResourceOfType(QStringLiteral("checkmark"), QStringLiteral("png"));
            m_ui->checkmarkField->setPixmap(imageFromFile(checkmark, 56, devicePixelRatioF()));
        }
    (image == Image::Icon ? m_ui->iconField : m_ui->checkmarkField)->setHidden(hidden);
}

void InstallerWindow::followColourScheme(bool dark)
{
    // The platform style draws with the system's light colours; Fusion follows a palette.
    if (!dark)
        return;
    QApplication::setStyle(QStringLiteral("Fusion"));
    QPalette palette;
    const QColor window(0x2b, 0x2b, 0x2b), base(0x1e, 0x1e, 0x1e), text(0xe8, 0xe8, 0xe8);
    palette.setColor(QPalette::Window, window);
    palette.setColor(QPalette::WindowText, text);
    palette.setColor(QPalette::Base, base);
    palette.setColor(QPalette::AlternateBase, window);
    palette.setColor(QPalette::Text, text);
    palette.setColor(QPalette::Button, QColor(0x3a, 0x3a, 0x3a));
    palette.setColor(QPalette::ButtonText, text);
    palette.setColor(QPalette::ToolTipBase, base);
    palette.setColor(QPalette::ToolTipText, text);
    palette.setColor(QPalette::Highlight, QColor(0x35, 0x84, 0xe4));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::Link, QColor(0x78, 0xae, 0xed));
    palette.setColor(QPalette::PlaceholderText, QColor(0x90, 0x90, 0x90));
    for (const QPalette::ColorRole role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, QColor(0x80, 0x80, 0x80));
    QApplication::setPalette(palette);
}

void InstallerWindow::followLanguageDirection()
{
    const bool rightToLeft = QLocale(RVLocalization::loadedLanguage()).textDirection() == Qt::RightToLeft;
    QGuiApplication::setLayoutDirection(rightToLeft ? Qt::RightToLeft : Qt::LeftToRight);
}

bool InstallerWindow::setIcon(const QString& icon)
{
    QPixmap pixmap;
    if (QFileInfo(icon).isAbsolute()) {
        pixmap = imageFromFile(icon, 128, devicePixelRatioF());
    } else {
        // A theme name; without an icon theme the style's own pictures stand in.
        const QStyle::StandardPixmap standard = icon == u"folder" ? QStyle::SP_DirIcon
                                                : icon.startsWith(u"application") ? QStyle::SP_ComputerIcon
                                                                                  : QStyle::SP_FileIcon;
        pixmap = QIcon::fromTheme(icon, style()->standardIcon(standard)).pixmap(QSize(128, 128), devicePixelRatioF());
    }
    if (pixmap.isNull())
        return false;
    m_ui->iconField->setPixmap(pixmap);
    // Title bars and switchers show small icons; the window manager reads every size given,
    // and a full-size product icon delayed the window's appearance by milliseconds.
    QIcon windowIcon;
    for (const int side : {16, 32, 48, 64}) {
        QPixmap small = pixmap.scaled(side, side, Qt::KeepAspectRatio, Qt::SmoothTransformation);
        small.setDevicePixelRatio(1); // the window manager counts pixels
        windowIcon.addPixmap(small);
    }
    QApplication::setWindowIcon(windowIcon);
    return true;
}

// Made when the read-me page is first shown or filled: most installations have no read-me,
// and a text view's first layout costs the window's appearance.
QTextBrowser* InstallerWindow::readMeView()
{
    if (m_readMeView)
        return m_readMeView;
    m_readMeView = new QTextBrowser(m_ui->readMePage);
    m_readMeView->setObjectName(QStringLiteral("readMeTextView"));
    m_readMeView->setOpenExternalLinks(true);
    m_readMeView->setAccessibleName(RVLocalizedString(QStringLiteral("Read me")));
    m_ui->readMeLayout->addWidget(m_readMeView);
    setTabOrder(m_readMeView, m_ui->installButton);
    return m_readMeView;
}

void InstallerWindow::selectPage(int page)
{
    if (page == 0)
        readMeView();
    m_ui->tabView->setCurrentIndex(page);
}

int InstallerWindow::selectedPage() const
{
    return m_ui->tabView->currentIndex();
}

void InstallerWindow::loadReadMe(const QString& path)
{
    // An RTFD document is a folder: its text in TXT.rtf, its pictures beside it.
    const bool isFolder = QFileInfo(path).isDir();
    const auto read = RVFileRead::regularFile(isFolder ? path + QStringLiteral("/TXT.rtf") : path, kMaxReadMeSize);
    QTextBrowser* view = readMeView();
    view->clear();
    if (!read.data)
        return;
    const QByteArray& document = *read.data;
    view->setSearchPaths({isFolder ? path : QFileInfo(path).path()});
    switch (RVRichText::detect(document)) {
    case RVRichText::Format::Rtf: view->setHtml(RVRichText::rtfToHtml(document)); break;
    case RVRichText::Format::Html: view->setHtml(QString::fromUtf8(document)); break;
    case RVRichText::Format::Markdown: view->setMarkdown(QString::fromUtf8(document)); break;
    case RVRichText::Format::Plain: view->setPlainText(QString::fromUtf8(document)); break;
    }
}

void InstallerWindow::setProgressAnimating(bool animating)
{
    m_ui->progressIndicator->setVisible(animating);
    BusyProgressAccessible::notifyBusyChanged(m_ui->progressIndicator);
}

void InstallerWindow::bringToFront(std::function<void()> onScreen)
{
    adjustSize();
    if (const QScreen* screen = this->screen())
        move(screen->availableGeometry().center() - rect().center());
    show();
    raise();
    activateWindow();
    m_ui->installButton->setFocus(); // Return, with or without Alt, presses it
    if (QWindow* window = windowHandle(); window && !window->isExposed()) {
        m_onScreen = std::move(onScreen);
        window->installEventFilter(this);
    } else {
        onScreen();
    }
    // Hand the map request to the server now rather than when the event loop next runs: the
    // window manager frames the window while the start-up finishes.
    if (const auto* x11 = qApp->nativeInterface<QNativeInterface::QX11Application>())
        if (xcb_connection_t* connection = x11->connection())
            xcb_flush(connection);
}

bool InstallerWindow::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::Expose && watched == windowHandle() && windowHandle()->isExposed() && m_onScreen) {
        watched->removeEventFilter(this);
        std::exchange(m_onScreen, nullptr)();
    }
    return QDialog::eventFilter(watched, event);
}

void InstallerWindow::showAlert(const QString& message, const QString& informative, const QString& first,
                                const QString& second, std::function<void(int)> answer)
{
    auto* alert = new QMessageBox(QMessageBox::Critical, QDialog::windowTitle(), message, QMessageBox::NoButton, this);
    alert->setTextFormat(Qt::PlainText);
    alert->setInformativeText(informative);
    if (auto* informativeField = alert->findChild<QLabel*>(QStringLiteral("qt_msgbox_informativelabel")))
        informativeField->setTextFormat(Qt::PlainText);
    QPushButton* firstButton = alert->addButton(first, QMessageBox::AcceptRole);
    alert->addButton(second, QMessageBox::ActionRole);
    alert->setDefaultButton(firstButton);
    alert->setWindowModality(Qt::WindowModal);
    alert->setAttribute(Qt::WA_DeleteOnClose);
    connect(alert, &QMessageBox::buttonClicked, this, [alert, firstButton, answer](QAbstractButton* clicked) {
        answer(clicked == firstButton ? 1000 : 1001);
        alert->close();
    });
    alert->open();
}

void InstallerWindow::beep()
{
    QApplication::beep();
}

void InstallerWindow::closeEvent(QCloseEvent* event)
{
    // Closing the window quits the installer (after a copy under way has ended).
    event->ignore();
    if (m_controller && InstallerWinController::applicationShouldTerminateAfterLastWindowClosed())
        m_controller->terminate();
}

void InstallerWindow::reject()
{
    // Escape is the Cancel button's key: it does what a click would, and nothing while the
    // button is disabled (an installation runs) or hidden (the final page).
    QPushButton* cancel = m_ui->cancelButton;
    if (cancel->isEnabled() && !cancel->isHidden())
        cancel->click();
}
