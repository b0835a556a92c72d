// The tests' one door to the editor's internal state and steps: setting the recording
// cursors, installing a player, writing frames without announcing them, and calling the
// private rendering and audio steps directly. Main thread only, like the editor.
#pragma once

#include "audio/AudioPlayer.h"
#include "editor/VideoEditorViewModel.h"
#include "render/TransitionInfo.h"

#include <QImage>

#include <memory>
#include <optional>

struct EditorTestAccess {
    static void setAudioPlayer(VideoEditorViewModel& editor, std::unique_ptr<AudioPlayer> player)
    {
        editor.m_playback.setPlayer(std::move(player));
    }
    static void setCurrentAssignmentIndex(VideoEditorViewModel& editor, int index)
    {
        editor.m_pageTurns.turnTo(index, editor.m_pageTurns.placement());
    }
    static void setCurrentAssignmentPlacement(VideoEditorViewModel& editor,
                                              std::optional<Placement> placement)
    {
        editor.m_pageTurns.turnTo(editor.m_pageTurns.page(), placement);
    }
    static void assignImage(VideoEditorViewModel& editor, const QImage& image, int64_t frame)
    {
        editor.assignImage(image, frame);
    }
    static void assignImageWithIndex(VideoEditorViewModel& editor, const QImage& image, int64_t frame,
                                     int imageIndex)
    {
        editor.assignImageWithIndex(image, frame, imageIndex);
    }
    static void updateFrameManagerImages(VideoEditorViewModel& editor) { editor.updateFrameManagerImages(); }
    static std::optional<double> measureAudioLoudness(const VideoEditorViewModel& editor, const QString& url)
    {
        return editor.measureAudioLoudness(url);
    }
    static std::optional<QString> addSilenceToAudio(VideoEditorViewModel& editor, const QString& sourceURL,
                                                    double startSilence, double endSilence)
    {
        return editor.addSilenceToAudio(sourceURL, startSilence, endSilence);
    }
    static std::optional<TransitionInfo> calculateTransitionInfo(const VideoEditorViewModel& editor,
                                                                 int64_t frameIndex)
    {
        return editor.calculateTransitionInfo(frameIndex);
    }
    static std::optional<QImage> createSimplePixelBuffer(const VideoEditorViewModel& editor,
                                                         int64_t frameIndex, QSizeF size)
    {
        return editor.createSimplePixelBuffer(frameIndex, size);
    }
    static void restoreProjectFrames(VideoEditorViewModel& editor, const ProjectJSON& project)
    {
        editor.restoreProjectFrames(project);
    }
};
