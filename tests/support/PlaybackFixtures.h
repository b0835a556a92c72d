// An editor with a loaded recording whose clock the test moves by hand, and page images made
// on the spot. For the playback, recording and navigation tests; main thread only.
#pragma once

#include "editor/VideoEditorViewModel.h"
#include "tests/support/ManualAudioPlayer.h"
#include "tests/support/ScriptedDialogs.h"

#include <QColor>
#include <QImage>

#include <cstdint>
#include <optional>
#include <vector>

// A page picture of the given pixel size filled with one colour, at devicePixelRatio 1 (one
// point per pixel) unless another ratio is given.
QImage makePageImage(int width, int height, const QColor& color, double devicePixelRatio = 1.0);

// Page-list entries for the images, each with a fresh id and a made-up file path.
std::vector<ImageItem> makePageItems(const std::vector<QImage>& images);

// Editor with a ManualAudioPlayer of `duration` seconds, `duration` and `audioURL` set as a
// finished audio load leaves them, and a frame store of ceil(duration x 30) frames.
class PlaybackEditor {
public:
    explicit PlaybackEditor(double duration);

    VideoEditorViewModel& editor() { return m_editor; }
    ManualAudioPlayer& player() { return *m_player; }

    // Moves the player's clock to `seconds` and runs one timer tick, as the 50 ms timer does.
    void tickAt(double seconds);

    // The page index written into a frame (none for unassigned); the frame must exist.
    std::optional<int> pageOfFrame(int64_t frame);

private:
    ScriptedDialogs m_dialogs;
    VideoEditorViewModel m_editor;
    ManualAudioPlayer* m_player = nullptr;
};
