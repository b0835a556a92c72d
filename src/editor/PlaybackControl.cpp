// The playback clock of the editor: time-to-frame mapping, play, pause, stop, seek and the
// 50 ms tick. Main thread only; the player and the timer are held by the editor's PlaybackClock.
#include "editor/VideoEditorViewModel.h"

#include "model/Frames.h"
#include "support/CheckedConversions.h"

#include <algorithm>

namespace {

constexpr int kPlaybackTickMs = 50;

} // namespace

int64_t VideoEditorViewModel::frameIndexForTime(double seconds) const
{
    // floor(t x 30), forgiving a millionth of a frame: the start time of frame i is i / 30,
    // which doubles cannot hold exactly, and for some frames i / 30.0 x 30 comes out a hair
    // below i (123 / 30.0 x 30 = 122.99999999999999). Page jumps seek to such times; without
    // the tolerance a jump would land on the last frame of the page before and stay there.
    constexpr double kFrameTolerance = 1e-6;
    return floorToInt64Checked(seconds * static_cast<double>(FPS) + kFrameTolerance);
}

int64_t VideoEditorViewModel::totalFrameCount() const
{
    // Rounds up where frameIndexForTime rounds down: the last, partial frame of the audio
    // exists and is reachable. Equals the count the frame store builds for the duration.
    return ceilToInt64Checked(m_duration * static_cast<double>(FPS));
}

void VideoEditorViewModel::play()
{
    // A play after a pause resumes and keeps the old start; any other play is a fresh start
    // that stop() will return to.
    if (!m_playback.play(m_currentTime, m_isPlaying))
        return;
    setIsPlaying(true);
    // A timer left from an earlier play is replaced; the transport never calls play() while
    // playing. The ticks are bound to the editor: once the editor is gone no tick runs.
    m_playback.startTicking(kPlaybackTickMs, this, [this] { playbackTick(); });
}

void VideoEditorViewModel::playbackTick()
{
    if (const std::optional<double> time = m_playback.playerTime())
        setCurrentTime(*time);
    if (m_isRecording)
        updateAssignmentForCurrentTime();
    updateSelectedImageForCurrentTime();
    // The end of the audio is deliberately not detected here: when the player runs out it
    // stops by itself while isPlaying stays true and the timer keeps ticking until the user
    // pauses or stops.
}

void VideoEditorViewModel::pause()
{
    m_playback.pause();
    setIsPlaying(false);
}

void VideoEditorViewModel::stop()
{
    if (m_isRecording) {
        setIsRecording(false);
        scheduleAutoSave();
    }
    pause();
    m_playback.clearPause();
    // Back to where the last fresh play began, not to 0. Recording is already off, so this
    // seek paints nothing.
    seekTo(m_playback.lastStartPlayPosition());
}

void VideoEditorViewModel::togglePlayback()
{
    if (m_isPlaying)
        pause();
    else
        play();
}

void VideoEditorViewModel::seekTo(double time)
{
    const int64_t oldFrame = frameIndexForTime(m_currentTime);
    setCurrentTime(std::max(0.0, std::min(time, m_duration)));
    m_playback.movePlayerTo(m_currentTime);
    const int64_t newFrame = frameIndexForTime(m_currentTime);

    if (!m_isPlaying) {
        // A seek while stopped or paused makes the next play a fresh start from here.
        m_playback.restartFrom(m_currentTime);
    }

    if (m_isRecording && m_pages.contains(m_pageTurns.page())) {
        // A seek while recording paints the current page over the whole stretch it crossed,
        // in either direction, and the sweep continues from the new position.
        const QImage image = m_pages.at(m_pageTurns.page()).image();
        for (int64_t frame = std::min(oldFrame, newFrame); frame <= std::max(oldFrame, newFrame); ++frame)
            assignImage(image, frame);
        m_pageTurns.continueFrom(newFrame);
        announceChange();
    }

    if (const auto record = m_frameManager->getFrame(newFrame); record && record->assignedImageIndex)
        setSelectedImageIndex(record->assignedImageIndex);
}
