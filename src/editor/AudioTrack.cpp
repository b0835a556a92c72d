#include "editor/AudioTrack.h"

#include "audio/RenderedAudioFile.h"

AudioTrack::AudioTrack(double startSilence, double endSilence)
    : m_previousStartSilence(startSilence)
    , m_previousEndSilence(endSilence)
{}

AudioTrack::~AudioTrack() = default;

AudioTrack::Tickets AudioTrack::beginLoad(const QString& url)
{
    m_originalURL = url;
    Tickets tickets;
    tickets.recording = m_recordingJobs.start();
    tickets.loudness = m_loudnessJobs.start();
    return tickets;
}

AudioTrack::Tickets AudioTrack::beginReload(bool measureLoudness)
{
    Tickets tickets;
    tickets.recording = m_recordingJobs.start();
    if (measureLoudness)
        tickets.loudness = m_loudnessJobs.start();
    return tickets;
}

void AudioTrack::cancelJobs()
{
    m_recordingJobs.cancelAll();
    m_loudnessJobs.cancelAll();
}

void AudioTrack::silencesApplied(double startSilence, double endSilence)
{
    m_previousStartSilence = startSilence;
    m_previousEndSilence = endSilence;
}

void AudioTrack::adoptRenderedAudio(std::shared_ptr<RenderedAudioFile> file)
{
    m_renderedAudio = std::move(file);
}

void AudioTrack::forgetRecording()
{
    m_renderedAudio.reset();
    m_originalURL.reset();
}

AudioTrack::LoudnessAssigned AudioTrack::recordingDecoded(std::optional<double> rmsDB, bool meterRuns)
{
    m_rmsLoudnessDB = rmsDB;
    // The figures of an earlier recording go; this one's follow when the meter is done.
    m_integratedLoudnessLUFS.reset();
    m_truePeakDBTP.reset();
    m_isMeasuringLoudness = meterRuns;
    return {true, true, true, true};
}

AudioTrack::LoudnessAssigned AudioTrack::meterFinished(std::optional<double> integratedLUFS,
                                                       std::optional<double> truePeakDBTP)
{
    m_integratedLoudnessLUFS = integratedLUFS;
    m_truePeakDBTP = truePeakDBTP;
    m_isMeasuringLoudness = false;
    return {false, true, true, true};
}

AudioTrack::LoudnessAssigned AudioTrack::stopMeasuring()
{
    m_isMeasuringLoudness = false;
    return {false, false, false, true};
}
