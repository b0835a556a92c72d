#include "audio/DefaultAudioPlayerFactory.h"

#include "audio/ClockAudioPlayer.h"
#include "audio/SinkAudioPlayer.h"
#include "support/Log.h"

#include <QMediaDevices>

AudioPlayerFactory defaultAudioPlayerFactory()
{
    return audioPlayerFactoryFor([] { return QMediaDevices::defaultAudioOutput(); });
}

AudioPlayerFactory clockAudioPlayerFactory()
{
    return [](std::shared_ptr<const AudioBuffer> audio) -> std::unique_ptr<AudioPlayer> {
        if (!audio)
            return nullptr;
        return std::make_unique<ClockAudioPlayer>(audio->durationSeconds());
    };
}

AudioPlayerFactory audioPlayerFactoryFor(std::function<QAudioDevice()> outputDevice)
{
    auto toldNoDevice = std::make_shared<bool>(false);
    return [toldNoDevice, outputDevice = std::move(outputDevice)](
                   std::shared_ptr<const AudioBuffer> audio) -> std::unique_ptr<AudioPlayer> {
        if (!audio || audio->sampleRate <= 0 || audio->channelCount() == 0)
            return nullptr;
        const QAudioDevice device = outputDevice();
        if (device.isNull()) {
            if (!*toldNoDevice) {
                logLine(QStringLiteral("[Audio] Nincs hangkimeneti eszköz: a lejátszás hang nélkül fut"));
                *toldNoDevice = true;
            }
            return std::make_unique<ClockAudioPlayer>(audio->durationSeconds());
        }
        return std::make_unique<SinkAudioPlayer>(std::move(audio), device);
    };
}
