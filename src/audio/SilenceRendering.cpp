#include "audio/SilenceRendering.h"

#include "audio/FloatWavWriter.h"
#include "support/CheckedConversions.h"
#include "support/ValueFormat.h"

#include <QDir>
#include <QUuid>

#include <charconv>
#include <cmath>
#include <string>

float gainForVolumeBoost(double volumeBoost)
{
    return static_cast<float>(volumeBoost / 100.0);
}

uint32_t silenceFrameCount(double seconds, int sampleRate)
{
    return toFrameCountChecked(seconds * static_cast<double>(sampleRate));
}

AudioBuffer renderSilenceAndGain(AudioBuffer source, uint32_t startFrames, uint32_t endFrames, float gain)
{
    AudioBuffer processed;
    processed.sampleRate = source.sampleRate;
    processed.channels.resize(source.channels.size());
    for (size_t c = 0; c < source.channels.size(); ++c) {
        std::vector<float>& input = source.channels[c];
        std::vector<float>& output = processed.channels[c];
        output.reserve(size_t(startFrames) + input.size() + size_t(endFrames));
        output.assign(startFrames, 0.0f);
        if (gain == 1.0f) {
            output.insert(output.end(), input.begin(), input.end());
        } else {
            for (const float sample : input)
                output.push_back(sample * gain);
        }
        output.insert(output.end(), endFrames, 0.0f);
        std::vector<float>().swap(input);
    }
    return processed;
}

QString newProcessedAudioPath(const QString& directory)
{
    const QString folder = directory.isEmpty() ? QDir::tempPath() : directory;
    const QString uuid = QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
    return QDir(folder).filePath(QStringLiteral("audio_with_silence_") + uuid + QStringLiteral(".wav"));
}

QString formatFloat(float value)
{
    if (!std::isfinite(value) || value == 0.0f || std::fabs(value) < 1e-4f || std::fabs(value) >= 16777216.0f)
        return formatDouble(static_cast<double>(value));
    char buffer[64];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed);
    std::string text(buffer, result.ptr);
    if (text.find('.') == std::string::npos)
        text += ".0";
    return QString::fromStdString(text);
}

QString gainLogLine(double volumeBoost, float gain)
{
    return QStringLiteral("[Audio] Hangerő erősítés alkalmazva: ") + formatDouble(volumeBoost) +
           QStringLiteral("% (gain: ") + formatFloat(gain) + QStringLiteral(")");
}

QStringList renderedLogLines(double startSilence, double endSilence, const QString& path)
{
    return {QStringLiteral("[Audio] Csend hozzáadva: ") + formatDouble(startSilence) +
                    QStringLiteral("s elején, ") + formatDouble(endSilence) + QStringLiteral("s végén"),
            QStringLiteral("[Audio] Temp fájl: ") + path};
}

std::optional<ProcessedAudio> renderProcessedAudio(AudioBuffer source, double startSilence, double endSilence,
                                                   double volumeBoost, const QString& directory,
                                                   const AudioLogSink& log)
{
    // The whole source must fit one buffer of an unsigned 32-bit frame capacity.
    toFrameCountChecked(static_cast<double>(source.frameCount()));

    const float gain = gainForVolumeBoost(volumeBoost);
    if (gain != 1.0f)
        log(gainLogLine(volumeBoost, gain));
    const uint32_t startFrames = silenceFrameCount(startSilence, source.sampleRate);
    const uint32_t endFrames = silenceFrameCount(endSilence, source.sampleRate);

    auto processed = std::make_shared<AudioBuffer>(
            renderSilenceAndGain(std::move(source), startFrames, endFrames, gain));
    const QString path = newProcessedAudioPath(directory);
    QString error;
    if (!writeFloatWav(path, *processed, &error)) {
        log(QStringLiteral("[Audio] Hiba a csend hozzáadásakor: ") + error);
        return std::nullopt;
    }
    log(QStringLiteral("[Audio] Csend hozzáadva: ") + formatDouble(startSilence) +
        QStringLiteral("s elején, ") + formatDouble(endSilence) + QStringLiteral("s végén"));
    log(QStringLiteral("[Audio] Temp fájl: ") + path);
    return ProcessedAudio{path, std::move(processed)};
}
