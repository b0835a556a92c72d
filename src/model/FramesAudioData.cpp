// The frame store's audio slices (declared with Frames in model/Frames.h).
#include "audio/AudioDecoder.h"
#include "model/Frames.h"
#include "support/Log.h"

void Frames::loadAudioData(const QString& url, double sampleRate, int fps)
{
    const DecodeResult decoded = decodeAudioFile(url);
    if (!decoded.audio) {
        logLine(QStringLiteral("Hiba: nem sikerült betölteni az audio fájlt"));
        return;
    }
    loadAudioData(*decoded.audio, sampleRate, fps);
}

void Frames::loadAudioData(const AudioBuffer& audio, double sampleRate, int fps)
{
    if (audio.channels.empty()) {
        logLine(QStringLiteral("Hiba: nincs audio adat"));
        return;
    }
    applyAudioSlices(quantiseFrameSlices(audio.channels.front(), samplesPerFrame(sampleRate, fps)));
}

void Frames::applyAudioSlices(FrameAudioSlices slices)
{
    const int perFrame = std::max(slices.samplesPerFrame, 0);
    for (size_t i = 0; i < m_frames.size(); ++i) {
        if (i < slices.slices.size())
            m_frames[i]->audioDatas = std::move(slices.slices[i]);
        else
            m_frames[i]->audioDatas.assign(size_t(perFrame), kSilentSliceValue);
    }
    logLine(QStringLiteral("Audio adatok betöltve: %1 frame, %2 minta/frame")
                    .arg(getFrameCount())
                    .arg(slices.samplesPerFrame));
}
