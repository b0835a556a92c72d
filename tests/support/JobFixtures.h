// An editor for the background-job tests: real loads into a temporary folder of its own,
// scripted dialogs, and a fault hook through which a test holds, slows or breaks the steps
// of the jobs it starts.
#pragma once

#include "editor/VideoEditorViewModel.h"
#include "model/Frames.h"
#include "tests/support/AudioFixtures.h"
#include "tests/support/EventLoop.h"
#include "tests/support/ExportFixtures.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QTemporaryDir>
#include <QThreadPool>

#include <atomic>
#include <chrono>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>

namespace JobFixtures {

// What a test does to the export's steps: holds the render thread at its first frame until
// released, throws at one step, or slows every decoded block of a load.
struct Steps {
    // Step names (string literals) or null; jobs read them from their own threads.
    std::atomic<const char*> holdAt = nullptr;
    std::atomic<const char*> throwAt = nullptr;
    std::atomic<const char*> slowAt = nullptr;
    std::atomic<bool> entered = false;
    std::atomic<bool> released = false;

    static bool is(std::string_view at, const std::atomic<const char*>& step)
    {
        const char* name = step.load();
        return name && at == name;
    }

    void pass(std::string_view at)
    {
        if (is(at, throwAt))
            throw std::runtime_error("szándékos hiba");
        if (is(at, slowAt))
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        if (is(at, holdAt) && !entered.exchange(true)) {
            const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
            while (!released && std::chrono::steady_clock::now() < deadline)
                std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }
    }
};

class JobEditor : public ::testing::Test {
protected:
    JobEditor()
    {
        EditorEnvironment environment = testEnvironment(dialogs);
        environment.audioPlayerFactory =
                fixtures::manualPlayerEnvironment(rendered.path()).audioPlayerFactory;
        environment.temporaryDirectory = rendered.path();
        environment.dataDirectory = dir.filePath(QStringLiteral("data"));
        environment.faultHook = [steps = steps](std::string_view at) { steps->pass(at); };
        editor = std::make_unique<VideoEditorViewModel>(environment);
        // Short recordings make short exports: no silence around them.
        editor->setStartSilenceDuration(0.0);
        editor->setEndSilenceDuration(0.0);
    }
    ~JobEditor() override
    {
        steps->released = true;
        editor.reset();
        QThreadPool::globalInstance()->waitForDone();
    }

    bool load(const QString& recording)
    {
        bool ok = false;
        bool done = false;
        const auto connection =
                QObject::connect(editor.get(), &VideoEditorViewModel::audioLoadFinished, [&](bool succeeded) {
                    ok = succeeded;
                    done = true;
                });
        editor->loadAudio(recording);
        const bool ended = waitUntil([&] { return done; }, 60000);
        QObject::disconnect(connection);
        return ended && ok;
    }
    // Pages on every frame the recording made; `alternate` changes the page on every frame,
    // so that each one is rendered and encoded.
    void pagesOnEveryFrame(bool alternate)
    {
        setPages(*editor, {solidPage(Qt::red), solidPage(Qt::blue)});
        const int64_t count = editor->getFrameManager().getFrameCount();
        for (int64_t frame = 0; frame < count; ++frame)
            assignFrames(*editor, frame, frame + 1, alternate ? int(frame % 2) : 0);
    }
    QStringList renderedWavs() const
    {
        QStringList paths;
        for (const QString& name : QDir(rendered.path()).entryList(QDir::Files))
            paths << rendered.filePath(name);
        return paths;
    }
    QStringList partFiles() const
    {
        return QDir(dir.path()).entryList({QStringLiteral("*.part")}, QDir::Files | QDir::Hidden);
    }
    QString path(const QString& name) const { return dir.filePath(name); }

    QTemporaryDir dir;
    QTemporaryDir rendered;
    ScriptedDialogs dialogs;
    std::shared_ptr<Steps> steps = std::make_shared<Steps>();
    std::unique_ptr<VideoEditorViewModel> editor;
};

} // namespace JobFixtures
