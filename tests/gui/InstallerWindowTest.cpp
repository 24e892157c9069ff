#include "FakePlatform.h"
#include "InstallerWinController.h"
#include "InstallerWindow.h"
#include "RVLocalization.h"
#include "RVProcess.h"
#include "RVAudioModule.h"
#include "TempDir.h"
#include "TestApplication.h"
#include "TreeSnapshot.h"
#include "RVLinuxFileManager.h"
#include "RVLinuxLauncher.h"
#include "RVLinuxWorkspace.h"
#include "RVPkexecAuthorization.h"
#include "RVTerminationSignal.h"
#include "RVUtilities.h"

#include <atomic>
#include <csignal>
#include <cstdio>
#include <thread>

#include <QAccessible>
#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QLabel>
#include <QMessageBox>
#include <QProgressBar>
#include <QPushButton>
#include <QSignalSpy>
#include <QStackedWidget>
#include <QTest>
#include <QTextBrowser>
#include <QUrl>

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace {

class WindowTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        RVProcess::resetCacheForTesting();
        product = tmp.mkdir(QStringLiteral("Velmora Demo.app/Contents/Resources"));
        product = tmp.file(QStringLiteral("Velmora Demo.app"));
        tmp.write(QStringLiteral("Velmora Demo.app/Contents/Info.plist"),
                  "{ CFBundleSignature = VDMO; CFBundleShortVersionString = \"1.2.0\"; }");
        readMe = tmp.write(QStringLiteral("ReadMe.rtf"), "{\\rtf1\\ansi Welcome to {\\b Velmora}.\\par Enjoy.}");
        platform.facts->executable = QStringLiteral(RV_INSTALLER_BUNDLE "/Contents/MacOS/VelmoraInstaller");
        platform.fileManager->existing = {QStringLiteral("/Applications"), readMe};
        platform.fileManager->writable = {QStringLiteral("/Applications")};
        platform.facts->gestaltAnswers = {{RVFourCC("sys1"), 6}, {RVFourCC("sys2"), 1}};
    }
    void TearDown() override
    {
        RVProcess::resetCacheForTesting();
        RVLocalization::uninstallFromApplication();
        RVLocalization::unload();
    }

    void start(InstallerWindow& window, InstallerWinController& controller, QStringList extra = {})
    {
        platform.facts->arguments = QStringList{platform.facts->executable, QStringLiteral("-sourcePath"), product,
                                                QStringLiteral("-readMePath"), readMe} + extra;
        controller.setView(&window);
        window.connectController(&controller);
        controller.awakeFromNib();
    }
    template <typename T>
    static T* child(QWidget& window, const char* name)
    {
        return window.findChild<T*>(QString::fromLatin1(name));
    }

    TempDir tmp;
    FakePlatform platform;
    LogCapture log;
    QString product, readMe;
};

TEST_F(WindowTest, StartUpFillsTheRealWidgetsAndTheButtonsNavigate)
{
    platform.processTable->add(7, QStringLiteral("VelmoraInstaller"), "VLMI");
    platform.processTable->current = 7;
    InstallerWindow window;
    InstallerWinController controller;
    start(window, controller);
    // Shown, and made the active window once the window system shows it.
    EXPECT_FALSE(platform.windowSystem->calls.contains(QStringLiteral("activate 7")));
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    EXPECT_TRUE(QTest::qWaitFor([&] { return platform.windowSystem->calls.contains(QStringLiteral("activate 7")); }));
    EXPECT_EQ(window.QDialog::windowTitle(), QStringLiteral("Velmora Demo Installer"));
    EXPECT_EQ(child<QLabel>(window, "nameField")->text(), QStringLiteral("Velmora Demo 1.2.0"));
    EXPECT_EQ(child<QStackedWidget>(window, "tabView")->currentIndex(), 0);
    EXPECT_TRUE(child<QTextBrowser>(window, "readMeTextView")->toPlainText().contains(QStringLiteral("Welcome to Velmora.")));
    QPushButton* install = child<QPushButton>(window, "installButton");
    QPushButton* cancel = child<QPushButton>(window, "cancelButton");
    EXPECT_EQ(install->text(), QStringLiteral("Continue"));
    EXPECT_TRUE(install->isDefault());
    EXPECT_TRUE(window.isVisible());
    install->click();
    EXPECT_EQ(child<QStackedWidget>(window, "tabView")->currentIndex(), 1);
    EXPECT_EQ(cancel->text(), QStringLiteral("Go Back"));
    EXPECT_TRUE(child<QLabel>(window, "pathField")->text().endsWith(QStringLiteral("Velmora Demo")));
    EXPECT_FALSE(child<QLabel>(window, "messageField")->isVisible());
    EXPECT_FALSE(child<QPushButton>(window, "helpButton")->isVisible());
    cancel->click();
    EXPECT_EQ(child<QStackedWidget>(window, "tabView")->currentIndex(), 0);

    const QImage shot = window.grab().toImage();
    EXPECT_GE(shot.width(), 580);
    EXPECT_GE(shot.height(), 380);
    QSignalSpy quits(&controller, &InstallerWinController::terminateRequested);
    window.close(); // while nothing runs: at once
    EXPECT_EQ(quits.count(), 1);
}

// Every text a user sees, in the window's own order: the title, then each shown label and
// button; the name and path fields hold the product's own name and path and are left out.
QStringList visibleTexts(QWidget& window)
{
    QStringList texts{window.windowTitle()};
    for (QWidget* widget : window.findChildren<QWidget*>()) {
        if (widget->window() != &window || !widget->isVisibleTo(&window) ||
            widget->objectName() == u"nameField" || widget->objectName() == u"pathField")
            continue;
        if (auto* label = qobject_cast<QLabel*>(widget); label && !label->text().isEmpty())
            texts << label->text();
        if (auto* button = qobject_cast<QAbstractButton*>(widget); button && !button->text().isEmpty())
            texts << button->text();
        if (auto* box = qobject_cast<QMessageBox*>(widget))
            texts << box->text() << box->informativeText();
    }
    return texts;
}

TEST_F(WindowTest, GermanLocaleMakesEveryVisibleTextGerman)
{
    ASSERT_TRUE(RVLocalization::load({QStringLiteral("de")}, QStringLiteral(RV_TRANSLATIONS_DIR)));
    RVLocalization::installIntoApplication();
    InstallerWindow window;
    InstallerWinController controller;
    start(window, controller);
    EXPECT_EQ(visibleTexts(window),
              (QStringList{QStringLiteral("Velmora Demo installieren"), QStringLiteral("Abbrechen"), QStringLiteral("Fortfahren")}));
    child<QPushButton>(window, "installButton")->click();
    EXPECT_EQ(visibleTexts(window),
              (QStringList{QStringLiteral("Velmora Demo installieren"),
                           QStringLiteral("Dieses Programm installiert Velmora Demo auf Ihrem Computer."), QStringLiteral("Ziel:"),
                           QStringLiteral("Klicken Sie auf „Installieren“, um Velmora Demo in diesen Ordner zu kopieren. "
                                          "Eine vorhandene Kopie wird in den Papierkorb gelegt."),
                           QStringLiteral("Zurück"), QStringLiteral("Installieren")}));
    controller.showFinalMessage(QStringLiteral("%@ was successfully installed."));
    EXPECT_EQ(visibleTexts(window),
              (QStringList{QStringLiteral("Velmora Demo installieren"), QStringLiteral("Velmora Demo wurde erfolgreich installiert."),
                           QStringLiteral("OK")}));

    InstallerWindow tooOld;
    InstallerWinController tooOldController;
    start(tooOld, tooOldController, {QStringLiteral("-minSystemVersion"), QStringLiteral("99")});
    QMessageBox* alert = tooOld.findChild<QMessageBox*>();
    ASSERT_TRUE(alert);
    QStringList alertTexts = visibleTexts(*alert);
    alertTexts.sort();
    QStringList expected{alert->windowTitle(),
                           QStringLiteral("Velmora Demo 1.2.0 kann auf diesem Computer nicht installiert werden, da es Linux "
                                          "mit dem Kernel 99 oder neuer benötigt."),
                           QStringLiteral("Ob eine ältere Version von Velmora Demo für Ihren Computer erhältlich ist, erfahren "
                                          "Sie in unserem Software-Archiv."),
                           QStringLiteral("Beenden"), QStringLiteral("Archiv besuchen")};
    expected.sort();
    EXPECT_EQ(alertTexts, expected);
}

// An RTFD read-me is a folder: shown with its picture. A product with no icon of its own
// shows the desktop's icon for an application.
TEST_F(WindowTest, RtfdReadMeShowsWithItsPictureAndAnIconlessProductGetsTheDesktopsIcon)
{
    readMe = tmp.mkdir(QStringLiteral("Read Me.rtfd"));
    QImage picture(40, 30, QImage::Format_RGB32);
    picture.fill(Qt::red);
    ASSERT_TRUE(picture.save(readMe + QStringLiteral("/logo.png")));
    tmp.write(QStringLiteral("Read Me.rtfd/TXT.rtf"),
              "{\\rtf1\\ansi Welcome {{\\NeXTGraphic logo.png \\width800 \\height600\n}\\'ac} aboard.}");
    platform.fileManager->existing << readMe;
    RVPlatform::install({.workspace = std::make_shared<RVLinuxWorkspace>(std::make_shared<RVLinuxLauncher>(),
                                                                         tmp.file(QStringLiteral("Apps")))});
    InstallerWindow window;
    InstallerWinController controller;
    start(window, controller);
    EXPECT_EQ(child<QStackedWidget>(window, "tabView")->currentIndex(), 0);
    auto* view = child<QTextBrowser>(window, "readMeTextView");
    EXPECT_TRUE(view->toPlainText().contains(QStringLiteral("Welcome"))) << view->toPlainText().toStdString();
    const QVariant logo = view->loadResource(QTextDocument::ImageResource, QUrl(QStringLiteral("logo.png")));
    EXPECT_EQ(QImage::fromData(logo.toByteArray()).size(), QSize(40, 30));
    EXPECT_TRUE(view->toHtml().contains(QStringLiteral("logo.png")));
    EXPECT_FALSE(child<QLabel>(window, "iconField")->pixmap().isNull());
}

// Every language at the window's minimum size: no shown label or button is cut, the page is
// kept as a screenshot, and Arabic lays the window out mirrored.
TEST_F(WindowTest, EveryLanguageFitsAtTheMinimumSizeAndArabicIsMirrored)
{
    QDir().mkpath(QStringLiteral(RV_ARTIFACTS_DIR));
    for (const char* language : {"en", "de", "fr", "es", "it", "pt_BR", "nl", "pl", "ru", "ja", "zh_CN", "ar"}) {
        RVLocalization::uninstallFromApplication();
        ASSERT_TRUE(RVLocalization::load(QStringList{QString::fromLatin1(language)}, QStringLiteral(RV_TRANSLATIONS_DIR)));
        RVLocalization::installIntoApplication();
        InstallerWindow::followLanguageDirection();
        InstallerWindow window;
        InstallerWinController controller;
        start(window, controller);
        child<QPushButton>(window, "installButton")->click(); // the installation page
        window.resize(window.minimumSize());
        QCoreApplication::processEvents();
        window.resize(window.minimumSize()); // as small as the layout lets it be
        QCoreApplication::processEvents();
        for (QWidget* widget : window.findChildren<QWidget*>()) {
            if (!widget->isVisibleTo(&window))
                continue;
            const std::string what = std::string(language) + " " + widget->objectName().toStdString();
            if (auto* label = qobject_cast<QLabel*>(widget); label && !label->text().isEmpty()) {
                const int needed = label->wordWrap() ? label->heightForWidth(label->width()) : label->sizeHint().width();
                EXPECT_LE(needed, label->wordWrap() ? label->height() : label->width()) << what;
            }
            if (auto* button = qobject_cast<QPushButton*>(widget)) {
                EXPECT_LE(button->sizeHint().width(), button->width()) << what;
            }
        }
        window.grab().save(QStringLiteral(RV_ARTIFACTS_DIR "/install-page-%1.png").arg(QLatin1String(language)));
        const bool arabic = QByteArray(language) == "ar";
        EXPECT_EQ(window.layoutDirection(), arabic ? Qt::RightToLeft : Qt::LeftToRight) << language;
        const int iconX = child<QLabel>(window, "iconField")->mapTo(&window, QPoint()).x();
        const int nameX = child<QLabel>(window, "nameField")->mapTo(&window, QPoint()).x();
        EXPECT_EQ(iconX > nameX, arabic) << language << ": the icon stands at the start of the line";
    }
    RVLocalization::uninstallFromApplication();
    RVLocalization::unload();
    InstallerWindow::followLanguageDirection();
}

// The window as assistive technology sees it: every shown control named, in its role; the
// keyboard alone goes through it (Tab order, Return for the default button, Escape as Cancel).
TEST_F(WindowTest, EveryControlIsNamedAndTheKeyboardAloneInstalls)
{
    InstallerWindow window;
    InstallerWinController controller;
    QSignalSpy quits(&controller, &InstallerWinController::terminateRequested);
    start(window, controller);
    window.show();
    QApplication::setActiveWindow(&window);
    const auto named = [&](const char* page) {
        std::vector<QAccessibleInterface*> pending{QAccessible::queryAccessibleInterface(&window)};
        int controls = 0;
        while (!pending.empty()) {
            QAccessibleInterface* node = pending.back();
            pending.pop_back();
            for (int i = 0; i < node->childCount(); ++i)
                pending.push_back(node->child(i));
            if (node->state().invisible)
                continue;
            const QAccessible::Role role = node->role();
            const bool control = role == QAccessible::PushButton || role == QAccessible::StaticText ||
                                 role == QAccessible::Graphic || role == QAccessible::ProgressBar ||
                                 role == QAccessible::EditableText || role == QAccessible::Document;
            if (!control)
                continue;
            ++controls;
            EXPECT_FALSE(node->text(QAccessible::Name).trimmed().isEmpty())
                << page << ": role " << role << " " << (node->object() ? node->object()->objectName().toStdString() : "");
        }
        return controls;
    };
    EXPECT_GE(named("read-me page"), 3);
    const auto focusName = [] { return QApplication::focusWidget() ? QApplication::focusWidget()->objectName() : QString(); };
    child<QTextBrowser>(window, "readMeTextView")->setFocus();
    QStringList order{focusName()};
    for (int i = 0; i < 2; ++i) {
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        order << focusName();
    }
    EXPECT_EQ(order, (QStringList{QStringLiteral("readMeTextView"), QStringLiteral("installButton"), QStringLiteral("cancelButton")}));
    QTest::keyClick(&window, Qt::Key_Return); // Continue, the default button
    EXPECT_EQ(child<QStackedWidget>(window, "tabView")->currentIndex(), 1);
    EXPECT_GE(named("installation page"), 5);
    // The progress indicator says when it is busy, and tells each change. Qt passes changes on
    // only while assistive technology listens: on the accessibility bus (gui_atspi), not
    // offscreen.
    const bool listening = qEnvironmentVariableIsSet("RV_EXPECT_ACCESSIBILITY_BUS");
    // Qt's bridge asks the bus whether accessibility is on without waiting for the answer.
    ASSERT_EQ(QTest::qWaitFor([] { return QAccessible::isActive(); }, listening ? 10000 : 0), listening);
    static QList<bool> busyChanges;
    busyChanges.clear();
    QAccessible::installUpdateHandler([](QAccessibleEvent* event) {
        if (event->type() == QAccessible::StateChanged && static_cast<QAccessibleStateChangeEvent*>(event)->changedStates().busy)
            busyChanges << event->accessibleInterface()->state().busy;
    });
    QAccessibleInterface* progress = QAccessible::queryAccessibleInterface(child<QProgressBar>(window, "progressIndicator"));
    EXPECT_EQ(progress->role(), QAccessible::ProgressBar);
    EXPECT_FALSE(progress->state().busy);
    const int idle = named("installation page");
    window.setProgressAnimating(true);
    EXPECT_TRUE(progress->state().busy);
    EXPECT_EQ(named("installation in progress"), idle + 1);
    window.setProgressAnimating(false);
    QAccessible::installUpdateHandler(nullptr);
    EXPECT_EQ(busyChanges, (listening ? QList<bool>{true, false} : QList<bool>{}));
    QTest::keyClick(&window, Qt::Key_Escape); // Go Back, as Cancel would
    EXPECT_EQ(child<QStackedWidget>(window, "tabView")->currentIndex(), 0);
    QTest::keyClick(&window, Qt::Key_Escape); // Cancel on the read-me page quits
    EXPECT_EQ(quits.count(), 1);
    EXPECT_EQ(QAccessible::queryAccessibleInterface(child<QLabel>(window, "iconField"))->text(QAccessible::Name),
              QStringLiteral("Product icon"));
}

// At the screen's density (run at 1, 1.5 and 2): the check mark and the product icon are
// drawn at full resolution for it.
TEST_F(WindowTest, ImagesAreSharpAtTheScreensDensity)
{
    QImage icon(512, 512, QImage::Format_ARGB32);
    icon.fill(Qt::darkCyan);
    const QString iconFile = tmp.file(QStringLiteral("icon.png"));
    ASSERT_TRUE(icon.save(iconFile));
    platform.fileManager->existing << iconFile;
    InstallerWindow window;
    InstallerWinController controller;
    start(window, controller, {QStringLiteral("-iconPath"), iconFile});
    window.show();
    const qreal ratio = window.devicePixelRatioF();
    controller.showFinalMessage(QStringLiteral("%@ was successfully installed."));
    window.setImageHidden(RVInstallerView::Image::Checkmark, false);
    for (const auto& [name, side] : {std::pair{"checkmarkField", 56}, std::pair{"iconField", 128}}) {
        const QPixmap shown = child<QLabel>(window, name)->pixmap();
        EXPECT_DOUBLE_EQ(shown.devicePixelRatio(), ratio) << name;
        EXPECT_EQ(shown.width(), qRound(side * ratio)) << name << " at " << ratio;
    }
    // Qt's icon engine draws the tint image from the resource made for density 2 on such a
    // screen (at 1.5, as near to the single one, it keeps that).
    const QPixmap swatch = QIcon(RVUtilities::systemTintImage()).pixmap(QSize(32, 32), ratio);
    EXPECT_EQ(swatch.width(), ratio >= 2 ? 64 : 32) << "at " << ratio;
    // The built-in reader takes a PNG by its content, whatever its name; other formats go
    // through the image plugins.
    for (const QString& name : {QStringLiteral("icon"), QStringLiteral("icon.bmp")}) {
        const QString file = tmp.file(name);
        ASSERT_TRUE(icon.save(file, name == u"icon" ? "PNG" : nullptr)) << name.toStdString();
        ASSERT_TRUE(window.setIcon(file)) << name.toStdString();
        const QPixmap shown = child<QLabel>(window, "iconField")->pixmap();
        EXPECT_EQ(shown.width(), qRound(128 * ratio)) << name.toStdString() << " at " << ratio;
        EXPECT_EQ(shown.toImage().pixelColor(shown.width() / 2, shown.height() / 2), QColor(Qt::darkCyan)) << name.toStdString();
    }
    EXPECT_FALSE(window.setIcon(tmp.write(QStringLiteral("broken.png"), "\x89PNG\r\n\x1a\nnot an image")));
    // The product's icon file may be a FIFO: no image, and no hang.
    ASSERT_EQ(::mkfifo(QFile::encodeName(tmp.file(QStringLiteral("fifo.png"))).constData(), 0644), 0);
    EXPECT_FALSE(window.setIcon(tmp.file(QStringLiteral("fifo.png"))));
    std::printf("images drawn at device pixel ratio %.2f\n", ratio);
}

// A desktop that prefers dark gets a dark window: dark backgrounds, light text.
TEST_F(WindowTest, ADarkColourSchemeGivesADarkWindow)
{
    const QPalette before = QApplication::palette();
    InstallerWindow::followColourScheme(false);
    EXPECT_EQ(QApplication::palette(), before);
    InstallerWindow::followColourScheme(true);
    InstallerWindow window;
    InstallerWinController controller;
    start(window, controller);
    EXPECT_LT(window.palette().color(QPalette::Window).lightness(), 80);
    EXPECT_GT(window.palette().color(QPalette::WindowText).lightness(), 180);
    EXPECT_LT(child<QTextBrowser>(window, "readMeTextView")->palette().color(QPalette::Base).lightness(), 80);
    const QImage shot = window.grab().toImage();
    EXPECT_LT(QColor(shot.pixel(shot.width() - 5, shot.height() / 2)).lightness(), 80);
    shot.save(QStringLiteral(RV_ARTIFACTS_DIR "/install-page-dark.png"));
    QApplication::setPalette(before);
    QApplication::setStyle(QStringLiteral("Fusion"));
}

TEST_F(WindowTest, SystemVersionAlertIsAWindowModalSheetWithTwoAnswers)
{
    InstallerWindow window;
    InstallerWinController controller;
    QSignalSpy quits(&controller, &InstallerWinController::terminateRequested);
    // A product name is shown as it is written, in the pages and in the alert.
    const QString name = QStringLiteral("<b>Acme</b>");
    start(window, controller,
          {QStringLiteral("-minSystemVersion"), QStringLiteral("99"), QStringLiteral("-productName"), name});
    QMessageBox* alert = window.findChild<QMessageBox*>();
    ASSERT_TRUE(alert);
    EXPECT_EQ(alert->windowModality(), Qt::WindowModal);
    EXPECT_TRUE(alert->text().contains(QStringLiteral("requires Mac OS X 99 or newer")));
    int showingName = 0;
    for (const QLabel* label : window.findChildren<QLabel*>()) {
        if (label->text().contains(name)) {
            ++showingName;
            EXPECT_EQ(label->textFormat(), Qt::PlainText) << label->objectName().toStdString();
        }
    }
    EXPECT_GE(showingName, 2); // a page field and the alert
    const auto buttons = alert->buttons();
    ASSERT_EQ(buttons.size(), 2);
    QAbstractButton* archive = nullptr;
    for (QAbstractButton* b : buttons) {
        if (b->text() == QStringLiteral("Visit Archive"))
            archive = b;
    }
    ASSERT_TRUE(archive);
    archive->click();
    EXPECT_EQ(quits.count(), 1);
    ASSERT_EQ(platform.launcher->requests.size(), 1u);
    EXPECT_TRUE(platform.launcher->requests[0].arguments.first().endsWith(QStringLiteral("/downloads/archive/")));
}

TEST_F(WindowTest, EscapeActsAsTheCancelButtonWouldAndOnlyWhenItCan)
{
    enum class State { Ready, Installing, Finished };
    for (const State state : {State::Ready, State::Installing, State::Finished}) {
        InstallerWindow window;
        InstallerWinController controller;
        QSignalSpy quits(&controller, &InstallerWinController::terminateRequested);
        start(window, controller);
        child<QPushButton>(window, "installButton")->click(); // to page 1, where Cancel is "Go Back"
        if (state == State::Installing)
            window.setButtonEnabled(RVInstallerView::Button::Cancel, false);
        if (state == State::Finished)
            controller.showFinalMessage(QStringLiteral("%@ was successfully installed."));
        QTest::keyClick(&window, Qt::Key_Escape);
        EXPECT_EQ(child<QStackedWidget>(window, "tabView")->currentIndex(), state == State::Ready ? 0 : 1) << int(state);
        EXPECT_EQ(quits.count(), 0) << int(state);
    }
}

// Closing the window, or SIGTERM, while an installation runs: the window keeps painting,
// the application ends only when the worker has reached a safe point, and the destination
// holds the previous copy or the complete new one, never half of it.
TEST_F(WindowTest, ClosingOrSigtermInEveryPhaseWaitsWhileTheWindowPaints)
{
    static std::function<void()> onSignal;
    static const bool installed = [] {
        RVTerminationSignal::install([] {
            if (onSignal)
                onSignal();
        });
        return true;
    }();
    ASSERT_TRUE(installed);
    enum class Phase { Quitting, Copy, PrivilegedCopy };
    const QString passThrough = tmp.write(QStringLiteral("pkexec-pass.sh"), "#!/bin/sh\nexec \"$@\"\n",
                                          QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    for (const Phase phase : {Phase::Quitting, Phase::Copy, Phase::PrivilegedCopy}) {
        for (const bool viaSignal : {false, true}) {
            const std::string where = std::to_string(int(phase)) + (viaSignal ? " SIGTERM" : " close");
            TempDir scratch;
            const QString source = scratch.mkdir(QStringLiteral("src/Product.app/Contents"));
            scratch.write(QStringLiteral("src/Product.app/Contents/Info.plist"), "{ CFBundleSignature = PROD; CFBundleIdentifier = com.example.product; }");
            scratch.write(QStringLiteral("src/Product.app/Contents/Big.bin"), QByteArray(192 << 20, 'n'));
            scratch.write(QStringLiteral("Apps/Product.app/Contents/Info.plist"), "{ CFBundleSignature = PROD; CFBundleIdentifier = com.example.product; }");
            const QString destination = scratch.file(QStringLiteral("Apps/Product.app"));
            const auto previous = snapshotTree(destination);
            const auto copied = snapshotTree(scratch.file(QStringLiteral("src/Product.app")));
            RVPlatform::install({.fileManager = std::make_shared<RVLinuxFileManager>(),
                                 .workspace = std::make_shared<RVLinuxWorkspace>(std::make_shared<RVLinuxLauncher>(),
                                                                                 scratch.file(QStringLiteral("Apps"))),
                                 .authorization = std::make_shared<RVPkexecAuthorization>(passThrough)});
            platform.windowSystem->optionKeyDown = phase == Phase::PrivilegedCopy;
            std::atomic<bool> sleeping{false}, released{false};
            platform.clock->onSleep = [&] {
                if (phase == Phase::Quitting && !sleeping.exchange(true))
                    while (!released)
                        std::this_thread::sleep_for(std::chrono::milliseconds(1));
            };
            RVProcess::resetCacheForTesting();
            platform.processTable->processes.clear();
            if (phase == Phase::Quitting) {
                platform.processTable->add(7, QStringLiteral("Product"), "PROD").politeRequestsToEnd = -1;
                platform.processTable->processes[7].forceRequestsToEnd = -1;
                platform.windowSystem->closeResult = RVWindowSystem::CloseResult::NoWindow;
            }

            InstallerWindow window;
            InstallerWinController controller;
            QSignalSpy quits(&controller, &InstallerWinController::terminateRequested);
            platform.facts->arguments = {platform.facts->executable, QStringLiteral("-sourcePath"), scratch.file(QStringLiteral("src/Product.app")),
                                         QStringLiteral("-destinationPath"), destination};
            controller.setView(&window);
            window.connectController(&controller);
            controller.awakeFromNib();
            window.show();
            onSignal = [&controller] { controller.terminate(); };
            child<QPushButton>(window, "installButton")->click();
            const auto staged = [&] {
                return !QDir(scratch.file(QStringLiteral("Apps"))).entryList({QStringLiteral(".Product.app.velmora-*")},
                                                                              QDir::AllEntries | QDir::Hidden).isEmpty();
            };
            ASSERT_TRUE(turnLoopUntil([&] { return phase == Phase::Quitting ? bool(sleeping) : staged(); }, 20000)) << where;
            if (viaSignal)
                ::kill(::getpid(), SIGTERM);
            else
                window.close();
            released = true;

            int paints = 0;
            bool paintedWhileWorking = false;
            struct PaintCounter : QObject
            {
                int* paints;
                InstallerWinController* controller;
                bool* whileWorking;
                bool eventFilter(QObject*, QEvent* event) override
                {
                    if (event->type() == QEvent::Paint) {
                        ++*paints;
                        *whileWorking = *whileWorking || controller->isWorking();
                    }
                    return false;
                }
            } filter;
            filter.paints = &paints;
            filter.controller = &controller;
            filter.whileWorking = &paintedWhileWorking;
            window.installEventFilter(&filter);
            window.update();
            EXPECT_TRUE(turnLoopUntil([&] { return quits.count() == 1; }, 60000)) << where;
            EXPECT_GT(paints, 0) << where;
            if (phase != Phase::Quitting) {
                EXPECT_TRUE(paintedWhileWorking) << where << ": the window waited without painting";
            }
            EXPECT_EQ(QDir(scratch.file(QStringLiteral("Apps"))).entryList({QStringLiteral(".*velmora-*")}, QDir::AllEntries | QDir::Hidden),
                      QStringList()) << where;
            const auto now = snapshotTree(destination);
            EXPECT_TRUE(now == (phase == Phase::Quitting ? previous : copied)) << where;
            onSignal = nullptr;
            platform.clock->onSleep = nullptr;
            turnLoopUntil([&] { return !controller.isWorking(); });
        }
    }
}

// Run by with-pulse.sh, which records what this plays.
TEST(Playback, CompletionSoundReachesTheDefaultOutput)
{
    if (!qEnvironmentVariableIsSet("RV_PULSE_TEST"))
        GTEST_SKIP() << "needs the PulseAudio server of tests/gui/with-pulse.sh";
    FakePlatform platform;
    platform.facts->executable = QStringLiteral(RV_INSTALLER_BUNDLE "/Contents/MacOS/VelmoraInstaller");
    RVPlatform::install(
        {.audio = std::make_shared<RVAudioModule>(RVAudioModule::pathInBundleOf(platform.facts->executable))});
    InstallerWinController controller;
    controller.setArguments(RVInstallerArguments::fromArgumentList(
        {QStringLiteral("/prog"), QStringLiteral("-completionSound"), QStringLiteral("YES")}));
    EXPECT_FALSE(RVPlatform::current().audio().defaultSystemOutputDeviceIdentifier().isNull());
    controller.playDoneSound();
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < 1500)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
}

} // namespace

int main(int argc, char** argv)
{
    // Offscreen unless a run on a real display asks for one.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
