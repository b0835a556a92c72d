// The recording's state that is not a setting: the user's own file, the silences its rendering
// last got, the rendered temporary WAV that plays, the loudness figures, and the tickets of the
// background jobs that load, reload and measure it. Main thread only: the jobs run on worker
// threads with the tickets handed out here and never read this part. Owned by value by the
// editor, which tells the observers of each figure an operation reports as assigned; knows
// nothing of the editor.
#pragma once

#include "support/JobToken.h"

#include <QString>

#include <memory>
#include <optional>

class RenderedAudioFile;

class AudioTrack {
public:
    // The tickets a load or reload works under: `recording` for the decode, rendering and
    // publishing, `loudness` for the meter that runs after it (none when the request does not
    // measure).
    struct Tickets {
        std::shared_ptr<JobToken> recording;
        std::shared_ptr<JobToken> loudness;
    };
    // The loudness figures an operation assigned, also those that kept their value: observers
    // hear of every assignment, in the order RMS, integrated loudness, true peak, measuring.
    struct LoudnessAssigned {
        bool rmsLoudness = false;
        bool integratedLoudness = false;
        bool truePeak = false;
        bool measuring = false;
    };

    // Starts out as if rendered with these silences (the settings' own starting values).
    AudioTrack(double startSilence, double endSilence);
    ~AudioTrack();
    AudioTrack(const AudioTrack&) = delete;
    AudioTrack& operator=(const AudioTrack&) = delete;

    // ---- The recording ----
    // The user's file the recording is rendered from; none before a load and after New project
    // or a project load.
    const std::optional<QString>& originalURL() const { return m_originalURL; }
    // The temporary WAV that plays; null without one.
    const std::shared_ptr<RenderedAudioFile>& renderedAudio() const { return m_renderedAudio; }
    // The silences of the rendering that plays, against which new silences are measured.
    double previousStartSilence() const { return m_previousStartSilence; }
    double previousEndSilence() const { return m_previousEndSilence; }

    // A load of `url` begins: it becomes the original recording, and every earlier load,
    // reload and loudness measurement is called off.
    Tickets beginLoad(const QString& url);
    // A reload of the original recording begins: earlier loads and reloads are called off, and
    // the loudness measurement too when this one measures (else the running one goes on).
    Tickets beginReload(bool measureLoudness);
    // True while `ticket` belongs to the latest load or reload and has not been called off.
    bool isCurrentJob(const JobToken& ticket) const { return m_recordingJobs.isCurrent(ticket); }
    // Calls off the running load or reload and the loudness measurement.
    void cancelJobs();
    // A load or reload succeeded with these silences.
    void silencesApplied(double startSilence, double endSilence);
    // Makes `file` the rendered recording; the one it replaces is removed from the disk once
    // nothing else (an export) holds it.
    void adoptRenderedAudio(std::shared_ptr<RenderedAudioFile> file);
    // The recording goes (New project, a project load): neither the user's file nor the
    // rendered one is kept, so that new silences cannot bring it back.
    void forgetRecording();

    // ---- Loudness ----
    // The RMS level of the user's file in dB.
    std::optional<double> rmsLoudnessDB() const { return m_rmsLoudnessDB; }
    std::optional<double> integratedLoudnessLUFS() const { return m_integratedLoudnessLUFS; }
    std::optional<double> truePeakDBTP() const { return m_truePeakDBTP; }
    bool isMeasuringLoudness() const { return m_isMeasuringLoudness; }

    // A load decoded its file: its RMS level (none when it could not be read) replaces the
    // earlier recording's, whose meter figures go; `meterRuns` says whether the meter follows.
    LoudnessAssigned recordingDecoded(std::optional<double> rmsDB, bool meterRuns);
    // The meter has its figures; the measurement is over.
    LoudnessAssigned meterFinished(std::optional<double> integratedLUFS, std::optional<double> truePeakDBTP);
    // The measurement ends without figures (it failed, or it was called off).
    LoudnessAssigned stopMeasuring();

    // One figure at a time, for the editor's own setters of each.
    void setRmsLoudnessDB(std::optional<double> db) { m_rmsLoudnessDB = db; }
    void setIntegratedLoudnessLUFS(std::optional<double> lufs) { m_integratedLoudnessLUFS = lufs; }
    void setTruePeakDBTP(std::optional<double> dbtp) { m_truePeakDBTP = dbtp; }
    void setMeasuringLoudness(bool measuring) { m_isMeasuringLoudness = measuring; }

private:
    std::optional<QString> m_originalURL;
    std::shared_ptr<RenderedAudioFile> m_renderedAudio;
    double m_previousStartSilence;
    double m_previousEndSilence;
    std::optional<double> m_rmsLoudnessDB;
    std::optional<double> m_integratedLoudnessLUFS;
    std::optional<double> m_truePeakDBTP;
    bool m_isMeasuringLoudness = false;
    // The load and reload of the recording: a newer request calls off the older.
    JobGenerations m_recordingJobs;
    // The loudness meter of a loaded recording: called off by the next load, New project, a
    // project load, or when the editor goes (a reload keeps it unless it measures itself).
    JobGenerations m_loudnessJobs;
};
