// The real window for widget tests: MainWindow with scripted dialogs, manual audio players
// and a private temporary folder, plus helpers that load a generated recording and pages
// through the editor as the user's drops would. Header-only because the shared test support
// library does not link the widgets. Main thread only.
#pragma once

#include "editor/VideoEditorViewModel.h"
#include "tests/support/AudioFixtures.h"
#include "tests/support/EditorTestAccess.h"
#include "tests/support/EventLoop.h"
#include "tests/support/PlaybackFixtures.h"
#include "tests/support/ScriptedDialogs.h"
#include "ui/ContentView.h"
#include "ui/MainWindow.h"

#include <QColor>
#include <QImage>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

#include <memory>
#include <ostream>

// Readable QStrings in test failure messages.
inline void PrintTo(const QString& text, std::ostream* out)
{
    *out << '"' << text.toStdString() << '"';
}

class WindowFixture {
public:
    WindowFixture()
    {
        EditorEnvironment environment = fixtures::manualPlayerEnvironment(m_folder.path());
        environment.dialogs = &m_dialogs;
        environment.dataDirectory = m_folder.filePath(QStringLiteral("data"));
        m_window = std::make_unique<MainWindow>(environment);
        m_window->resize(1400, 860);
    }

    MainWindow& window() { return *m_window; }
    VideoEditorViewModel& editor() { return m_window->editor(); }
    ScriptedDialogs& dialogs() { return m_dialogs; }
    QString path(const QString& name) const { return m_folder.filePath(name); }

    template <typename T>
    T* find(const QString& objectName)
    {
        return m_window->findChild<T*>(objectName);
    }

    // Shows the window and waits until it is exposed and active.
    void show()
    {
        m_window->show();
        m_window->activateWindow();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(m_window.get()));
        EXPECT_TRUE(QTest::qWaitForWindowActive(m_window.get()));
    }

    // Loads a generated tone of `seconds` (with no silences around it) and waits for the load.
    void loadAudio(double seconds)
    {
        editor().setStartSilenceDuration(0.0);
        editor().setEndSilenceDuration(0.0);
        const auto frames = static_cast<int64_t>(seconds * 44100.0 + 0.5);
        const QString wav = fixtures::writeWav(path(QStringLiteral("tone.wav")),
                                               fixtures::sineTone(44100, 1, frames, 0.3f));
        ASSERT_FALSE(wav.isEmpty());
        editor().loadAudio(wav);
        ASSERT_TRUE(
                waitUntil([this] { return editor().audioURL().has_value() && !editor().isLoadingAudio(); }));
        drainEvents();
    }

    // Page images of one colour each, added to the page list as an import would.
    void addPages(const std::vector<QImage>& pages)
    {
        auto items = editor().images();
        for (ImageItem& item : makePageItems(pages))
            items.push_back(std::move(item));
        editor().setImages(std::move(items));
        EditorTestAccess::updateFrameManagerImages(editor());
    }

private:
    QTemporaryDir m_folder;
    ScriptedDialogs m_dialogs;
    std::unique_ptr<MainWindow> m_window;
};
