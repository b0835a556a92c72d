#include "tests/ui/WindowFixture.h"

#include "app/AppDelegate.h"
#include "model/Frames.h"
#include "support/Log.h"
#include "tests/support/EditorTestAccess.h"
#include "ui/AppCommands.h"

#include <QAction>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QScreen>
#include <QSignalSpy>

namespace {

QAction* action(WindowFixture& fixture, const QString& name)
{
    auto* found = fixture.window().commands().findChild<QAction*>(name);
    EXPECT_NE(found, nullptr) << name.toStdString();
    return found;
}

// The menu's items as "title|shortcut", separators as "-".
QStringList itemsOf(const QMenu* menu)
{
    QStringList items;
    for (const QAction* item : menu->actions())
        items << (item->isSeparator() ? QStringLiteral("-")
                                      : item->text() + QLatin1Char('|') + item->shortcut().toString());
    return items;
}

void giveAudio(VideoEditorViewModel& editor, double duration)
{
    EditorTestAccess::setAudioPlayer(editor, std::make_unique<ManualAudioPlayer>(duration));
    editor.setDuration(duration);
    editor.setAudioURL(QStringLiteral("/tmp/audio_with_silence_TEST.wav"));
    editor.getFrameManager().ensureFrameCount(duration, VideoEditorViewModel::FPS);
}

} // namespace

TEST(AppCommandsTest, MenusHoldTheCommandsInOrderWithTitlesAndShortcuts)
{
    WindowFixture fixture;
    const QList<QAction*> menus = fixture.window().menuBar()->actions();
    ASSERT_EQ(menus.size(), 3);
    EXPECT_EQ(menus[0]->text(), QStringLiteral("Fájl"));
    EXPECT_EQ(menus[1]->text(), QStringLiteral("Lejátszás"));
    EXPECT_EQ(menus[2]->text(), QStringLiteral("Képek"));
    EXPECT_EQ(
            itemsOf(menus[0]->menu()),
            QStringList({QStringLiteral("Új projekt|Ctrl+N"), QStringLiteral("-"),
                         QStringLiteral("Projekt mentése|Ctrl+S"),
                         QStringLiteral("Mentés más néven...|Ctrl+Shift+S"),
                         QStringLiteral("Projekt betöltése...|Ctrl+O"), QStringLiteral("-"),
                         QStringLiteral("Beállítások...|Ctrl+,"), QStringLiteral("-"),
                         QStringLiteral("Névjegy|"), QStringLiteral("-"), QStringLiteral("Kilépés|Ctrl+Q")}));
    EXPECT_EQ(itemsOf(menus[1]->menu()), QStringList({QStringLiteral("Play / Pause|Space")}));
    EXPECT_EQ(itemsOf(menus[2]->menu()),
              QStringList({QStringLiteral("Összes kép törlése|Ctrl+Shift+Backspace"), QStringLiteral("-"),
                           QStringLiteral("Álló képek törlése|"), QStringLiteral("Fekvő képek törlése|")}));
}

TEST(AppCommandsTest, EachCommandEmitsOnlyItsOwnSignal)
{
    AppCommands commands;
    const std::vector<std::pair<QString, void (AppCommands::*)()>> signalsByName = {
            {QStringLiteral("newProject"), &AppCommands::newProject},
            {QStringLiteral("saveProject"), &AppCommands::saveProject},
            {QStringLiteral("saveProjectAs"), &AppCommands::saveProjectAs},
            {QStringLiteral("loadProject"), &AppCommands::loadProject},
            {QStringLiteral("openSettings"), &AppCommands::openSettings},
            {QStringLiteral("showAbout"), &AppCommands::showAbout},
            {QStringLiteral("togglePlayback"), &AppCommands::togglePlayback},
            {QStringLiteral("deleteAllImages"), &AppCommands::deleteAllImages},
            {QStringLiteral("deletePortraitImages"), &AppCommands::deletePortraitImages},
            {QStringLiteral("deleteLandscapeImages"), &AppCommands::deleteLandscapeImages}};
    ASSERT_EQ(commands.actions().size(), 10);
    std::vector<std::unique_ptr<QSignalSpy>> spies;
    for (const auto& [name, signal] : signalsByName)
        spies.push_back(std::make_unique<QSignalSpy>(&commands, signal));
    for (size_t i = 0; i < signalsByName.size(); ++i) {
        QAction* trigger = commands.actions().at(static_cast<int>(i));
        EXPECT_EQ(trigger->objectName(), signalsByName[i].first);
        trigger->trigger();
        for (size_t j = 0; j < spies.size(); ++j)
            EXPECT_EQ(spies[j]->count(), j <= i ? 1 : 0) << signalsByName[j].first.toStdString();
    }
}

TEST(AppCommandsTest, SpaceTogglesPlaybackThroughTheMenuCommand)
{
    WindowFixture fixture;
    giveAudio(fixture.editor(), 5.0);
    fixture.show();
    QSignalSpy toggles(&fixture.window().commands(), &AppCommands::togglePlayback);
    QTest::keyClick(&fixture.window(), Qt::Key_Space);
    EXPECT_EQ(toggles.count(), 1);
    EXPECT_TRUE(fixture.editor().isPlaying());
    QTest::keyClick(&fixture.window(), Qt::Key_Space);
    EXPECT_EQ(toggles.count(), 2);
    EXPECT_FALSE(fixture.editor().isPlaying());
}

TEST(AppCommandsTest, SpaceInATextFieldTypesASpaceAndLeavesPlaybackAlone)
{
    WindowFixture fixture;
    giveAudio(fixture.editor(), 5.0);
    auto* field = new QLineEdit(&fixture.window().contentView());
    field->setGeometry(10, 10, 200, 30);
    fixture.show();
    field->setFocus();
    ASSERT_TRUE(waitUntil([field] { return field->hasFocus(); }));
    QTest::keyClicks(field, QStringLiteral("a b"));
    EXPECT_EQ(field->text(), QStringLiteral("a b"));
    EXPECT_FALSE(fixture.editor().isPlaying());
}

TEST(AppCommandsTest, ChoosingSettingsOnlyWritesItsLogLine)
{
    WindowFixture fixture;
    fixture.show();
    QSignalSpy changes(&fixture.editor(), &VideoEditorViewModel::changed);
    LogCapture log;
    action(fixture, QStringLiteral("openSettings"))->trigger();
    EXPECT_EQ(log.lines(), QStringList({QStringLiteral("[Settings] Beállítások megnyitása...")}));
    EXPECT_EQ(changes.count(), 0);
    EXPECT_TRUE(fixture.dialogs().requests().empty());
    EXPECT_FALSE(fixture.editor().showAudioSettings());
}

TEST(AppCommandsTest, AboutShowsTheInformationalAlert)
{
    WindowFixture fixture;
    action(fixture, QStringLiteral("showAbout"))->trigger();
    const auto alerts = fixture.dialogs().alerts();
    ASSERT_EQ(alerts.size(), 1u);
    EXPECT_EQ(alerts[0].style, AlertStyle::informational);
    EXPECT_EQ(alerts[0].message, QStringLiteral("Vornik"));
    EXPECT_TRUE(alerts[0].informativeText.startsWith(
            QStringLiteral("Verzió 1.0\n\nKotta videó készítő alkalmazás")));
}

TEST(AppCommandsTest, CtrlShiftBackspaceDeletesAllImages)
{
    WindowFixture fixture;
    fixture.addPages({makePageImage(100, 200, Qt::red), makePageImage(200, 100, Qt::green)});
    fixture.show();
    QTest::keyClick(&fixture.window(), Qt::Key_Backspace, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_TRUE(fixture.editor().images().empty());
}

TEST(AppCommandsTest, PageCommandsReachTheEditor)
{
    WindowFixture fixture;
    fixture.addPages({makePageImage(100, 200, Qt::red), makePageImage(200, 100, Qt::green),
                      makePageImage(120, 240, Qt::blue)});
    action(fixture, QStringLiteral("deletePortraitImages"))->trigger();
    ASSERT_EQ(fixture.editor().images().size(), 1u);
    EXPECT_EQ(fixture.editor().images()[0].image().width(), 200);
    fixture.addPages({makePageImage(100, 200, Qt::red)});
    action(fixture, QStringLiteral("deleteLandscapeImages"))->trigger();
    ASSERT_EQ(fixture.editor().images().size(), 1u);
    EXPECT_EQ(fixture.editor().images()[0].image().width(), 100);
    action(fixture, QStringLiteral("deleteAllImages"))->trigger();
    EXPECT_TRUE(fixture.editor().images().empty());
}

TEST(AppDelegateTest, WindowFillsTheAvailableScreenShortlyAfterStart)
{
    // A plain window: the real one is larger than its minimum size allows on the small test screen.
    QWidget window;
    window.resize(300, 200);
    window.show();
    AppDelegate delegate;
    delegate.applicationDidFinishLaunching(&window);
    const QRect available = window.screen()->availableGeometry();
    ASSERT_NE(window.geometry(), available);
    ASSERT_TRUE(waitUntil([&] { return window.geometry() == available; }, 5000));
}

TEST(AppDelegateTest, TheWindowRegistersItsEditorWithTheDelegateWhenItAppears)
{
    ScriptedDialogs dialogs;
    EditorEnvironment environment;
    environment.dialogs = &dialogs;
    AppDelegate delegate;
    MainWindow window(environment, &delegate);
    EXPECT_EQ(delegate.viewModel(), nullptr);
    window.show();
    EXPECT_EQ(delegate.viewModel(), &window.editor());
}

TEST(AppDelegateTest, ClosingTheLastWindowQuits)
{
    AppDelegate delegate;
    EXPECT_TRUE(AppDelegate::applicationShouldTerminateAfterLastWindowClosed());
    EXPECT_TRUE(QApplication::quitOnLastWindowClosed());
    QSignalSpy terminating(&delegate, &AppDelegate::terminating);
    delegate.applicationWillTerminate();
    EXPECT_EQ(terminating.count(), 1);
}

TEST(AppCommandsTest, KilepesClosesTheWindowTheWayItsCloseButtonDoes)
{
    // The title bar's close button sends the window a close event; Ctrl+Q must do the same,
    // since closing the last window is what quits (and the quit autosaves).
    class CloseCounter : public QObject {
    public:
        int closes = 0;
        bool eventFilter(QObject*, QEvent* event) override
        {
            if (event->type() == QEvent::Close)
                ++closes;
            return false;
        }
    } counter;
    WindowFixture fixture;
    fixture.show();
    fixture.window().installEventFilter(&counter);
    QTest::keyClick(&fixture.window(), Qt::Key_Q, Qt::ControlModifier);
    drainEvents();
    EXPECT_EQ(counter.closes, 1);
    EXPECT_FALSE(fixture.window().isVisible());
    EXPECT_TRUE(QGuiApplication::quitOnLastWindowClosed());
}
