// The background half of loading a recording: one decode of the user's file, then the
// loudness, the processed buffer and its temporary WAV, the player, the waveform bars and
// the per-frame slices, each handed to the editor on the main thread by a queued call, in
// the order the loading screen shows them. Loading and reloading with new silences share
// it; they differ in the loudness step, the failure text and what happens at the end.
#pragma once

#include "support/FaultHook.h"
#include "support/JobToken.h"

#include <QString>

#include <atomic>
#include <functional>
#include <memory>

class VideoEditorViewModel;

struct AudioPipelineRequest {
    // The user's file; read once.
    QString sourcePath;
    // Settings in force when the work started (the background never reads the editor).
    double startSilence = 0.0;
    double endSilence = 0.0;
    double volumeBoost = 100.0;
    QString temporaryDirectory;
    // Loading measures the loudness of the original file; reloading keeps the old figure.
    bool measureLoudness = true;
    // The request's ticket (from the editor's AudioTrack). Once it is called off, the
    // work stops at its next step (the decoder checks it between packets), its temporary WAV
    // is removed, and none of its steps reaches the editor.
    std::shared_ptr<const JobToken> job;
    // The integrated loudness and true peak are measured last, after the recording is ready
    // (they take several times longer than the decode); once this ticket is called off the
    // measurement stops and its figures are dropped. A reload may leave the measurement of
    // the load before it running.
    std::shared_ptr<const JobToken> loudnessJob;
    // Test hook: called at the steps "audioPipeline" (after the decode), "decodeBlock" (on
    // the builder's worker thread) and "loudness".
    FaultHook faultHook;
};

struct AudioPipelineHooks {
    // Start of the failure line, e.g. "[Audio] Hiba betöltéskor: ".
    QString failureLogPrefix;
    // Runs on the main thread after every frame has its slice; `duration` is the processed
    // recording's length in seconds. Ends the loading state.
    std::function<void(VideoEditorViewModel& editor, double duration)> finished;
};

// Every run that is not called off ends with the editor's audioLoadFinished() on the main
// thread: true after `finished`, false after the failure line. An exception or allocation
// failure in the work ends in the failure line too.

// Starts the work on the global thread pool and returns at once. The editor is held weakly:
// if it is gone when a step arrives, the step is dropped. Called on the main thread.
void startAudioPipeline(VideoEditorViewModel& editor, AudioPipelineRequest request, AudioPipelineHooks hooks);
