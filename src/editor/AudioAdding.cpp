// The editor's step that puts a recording into a finished video: the muxing itself is
// export/AudioMuxer's; the editor only hands its completion the outcome.
#include "editor/VideoEditorViewModel.h"
#include "export/AudioMuxer.h"

void VideoEditorViewModel::addAudioToVideo(const QString& videoURL, const QString& audioURL,
                                           std::function<void(bool)> completion)
{
    muxAudioIntoVideo(videoURL, audioURL,
                      [completion = std::move(completion)](bool ok, const QString&) { completion(ok); });
}
