// Audio loading from a file's bytes. First the decoder reading from memory, then the load's
// own processing of the same file: the streaming builder that decodes once and, beside the
// decoder, measures the loudness, adds the silences and the boost, writes the temporary WAV
// and cuts the frame slices. The builder promises exactly the results of doing those steps
// one after the other on a full decode, which is checked here for every input; then the
// waveform bars and the frame store take the result, as the load ends.
#include "FuzzSupport.h"

#include "audio/AudioDecoder.h"
#include "audio/FrameSlicing.h"
#include "audio/Loudness.h"
#include "audio/LoudnessNormalisation.h"
#include "audio/ProcessedAudioBuilder.h"
#include "audio/SilenceRendering.h"
#include "audio/Waveform.h"
#include "model/Frames.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <cmath>
#include <cstring>

namespace {

constexpr double kStartSilence = 0.25;
constexpr double kEndSilence = 0.5;
constexpr double kVolumeBoost = 150.0;
constexpr int kFps = 60;

QTemporaryDir* workFolder = nullptr;

// Two readings agree when both are absent, both NaN (a recording with NaN samples measures
// as NaN either way) or equal.
bool sameReading(std::optional<double> a, std::optional<double> b)
{
    if (!a || !b)
        return !a && !b;
    return (std::isnan(*a) && std::isnan(*b)) || *a == *b;
}

bool sameSamples(const AudioBuffer& a, const AudioBuffer& b)
{
    if (a.sampleRate != b.sampleRate || a.channels.size() != b.channels.size())
        return false;
    for (size_t c = 0; c < a.channels.size(); ++c) {
        const std::vector<float>& x = a.channels[c];
        const std::vector<float>& y = b.channels[c];
        if (x.size() != y.size())
            return false;
        // Bitwise, so that NaN samples compare as the same sample.
        if (!x.empty() && std::memcmp(x.data(), y.data(), x.size() * sizeof(float)) != 0)
            return false;
    }
    return true;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv)
{
    initialiseFuzzTarget(argc, argv);
    // The builder reads a file and writes one: both go to memory when /dev/shm is there.
    const QString base =
            QDir(QStringLiteral("/dev/shm")).exists() ? QStringLiteral("/dev/shm") : QDir::tempPath();
    workFolder = new QTemporaryDir(base + QStringLiteral("/vornik-fuzz-audio-XXXXXX"));
    if (!workFolder->isValid())
        fuzzCheckFailed("no temporary folder for the audio files");
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray bytes = fuzzInput(data, size);
    QBuffer buffer;
    buffer.setData(bytes);
    if (!buffer.open(QIODevice::ReadOnly))
        return 0;
    DecodeResult decoded = decodeAudioDevice(buffer, QStringLiteral("fuzz"));
    if (!decoded.audio)
        return 0;
    const AudioBuffer& source = *decoded.audio;
    if (source.sampleRate <= 0 || source.channels.empty())
        fuzzCheckFailed("decoded audio without a sample rate or channels");
    for (const std::vector<float>& channel : source.channels) {
        if (channel.size() != source.channels.front().size())
            fuzzCheckFailed("decoded channels of different lengths");
    }

    // The load reads its recording from a file.
    const QString sourcePath = workFolder->filePath(QStringLiteral("source"));
    {
        QFile file(sourcePath);
        if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(bytes) != bytes.size())
            fuzzCheckFailed("cannot write the input to the temporary folder");
    }
    ProcessedAudioRequest request;
    request.startSilence = kStartSilence;
    request.endSilence = kEndSilence;
    request.gain = gainForVolumeBoost(kVolumeBoost);
    request.wavPath = workFolder->filePath(QStringLiteral("processed.wav"));
    request.samplesPerFrame = samplesPerFrame(44100.0, kFps);
    ProcessedAudioResult built = ProcessedAudioBuilder(request).build(sourcePath);
    if (!built.decode.ok || !built.audio)
        fuzzCheckFailed("the load could not decode a file the decoder reads from memory");
    if (built.sourceFrames != source.frameCount())
        fuzzCheckFailed("the load decoded a different length than the decoder from memory");

    // The same steps one after the other on the full decode.
    const std::optional<double> rms = measureRmsLoudness(source);
    if (!sameReading(rms, rmsLoudnessFromSums(built.squareSums, built.sourceFrames)))
        fuzzCheckFailed("the load's RMS loudness differs from measuring the decoded audio");
    IntegratedLoudnessMeter meter;
    if (meter.begin(source.sampleRate, source.channelCount())) {
        std::vector<const float*> channels;
        for (const std::vector<float>& channel : source.channels)
            channels.push_back(channel.data());
        meter.add(channels, static_cast<size_t>(source.frameCount()));
    }
    (void)normalisationBoost(meter.integratedLUFS(), meter.truePeakDBTP());
    const uint32_t startFrames = silenceFrameCount(kStartSilence, source.sampleRate);
    const uint32_t endFrames = silenceFrameCount(kEndSilence, source.sampleRate);
    const AudioBuffer processed =
            renderSilenceAndGain(std::move(*decoded.audio), startFrames, endFrames, request.gain);
    if (!sameSamples(processed, *built.audio))
        fuzzCheckFailed("the load's processed audio differs from rendering the decoded audio");
    const FrameAudioSlices slices = quantiseFrameSlices(processed.channels.front(), request.samplesPerFrame);
    if (slices.samplesPerFrame != built.slices.samplesPerFrame || slices.slices != built.slices.slices)
        fuzzCheckFailed("the load's frame slices differ from cutting the processed audio");

    // The end of the load: the waveform and the frame store.
    const std::vector<float> bars = waveformBars(processed.channels.front());
    if (bars.size() != size_t(kWaveformBarCount))
        fuzzCheckFailed("waveform with the wrong number of bars");
    Frames frames;
    frames.ensureFrameCount(processed.durationSeconds(), kFps);
    frames.applyAudioSlices(std::move(built.slices));
    return 0;
}
