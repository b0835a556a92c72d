#include "audio/SinkAudioPlayer.h"

#include "support/Log.h"

#include <QAudioFormat>
#include <QAudioSink>
#include <QIODevice>

#include <algorithm>
#include <cmath>
#include <cstring>

// Hands the sink interleaved float frames from the in-memory recording, from a frame
// position that seeking sets. Read by the sink on the main thread.
class PcmFeed : public QIODevice {
public:
    explicit PcmFeed(std::shared_ptr<const AudioBuffer> audio)
        : m_audio(std::move(audio))
    {}

    void setFrame(int64_t frame) { m_frame = std::clamp<int64_t>(frame, 0, m_audio->frameCount()); }
    bool atEndOfAudio() const { return m_frame >= m_audio->frameCount(); }

    bool isSequential() const override { return true; }
    qint64 bytesAvailable() const override
    {
        return (m_audio->frameCount() - m_frame) * bytesPerFrame() + QIODevice::bytesAvailable();
    }

protected:
    qint64 readData(char* data, qint64 maxSize) override
    {
        const int channels = m_audio->channelCount();
        const int64_t frames = std::min<int64_t>(maxSize / bytesPerFrame(), m_audio->frameCount() - m_frame);
        if (frames <= 0)
            return 0;
        auto* out = reinterpret_cast<float*>(data);
        for (int64_t i = 0; i < frames; ++i) {
            for (int c = 0; c < channels; ++c)
                *out++ = m_audio->channels[size_t(c)][size_t(m_frame + i)];
        }
        m_frame += frames;
        return frames * bytesPerFrame();
    }
    qint64 writeData(const char*, qint64) override { return -1; }

private:
    qint64 bytesPerFrame() const { return qint64(sizeof(float)) * m_audio->channelCount(); }

    std::shared_ptr<const AudioBuffer> m_audio;
    int64_t m_frame = 0;
};

SinkAudioPlayer::SinkAudioPlayer(std::shared_ptr<const AudioBuffer> audio, const QAudioDevice& device,
                                 QObject* parent)
    : QObject(parent)
    , m_audio(std::move(audio))
    , m_duration(m_audio->durationSeconds())
    , m_feed(std::make_unique<PcmFeed>(m_audio))
{
    QAudioFormat format;
    format.setSampleRate(m_audio->sampleRate);
    format.setChannelCount(m_audio->channelCount());
    format.setSampleFormat(QAudioFormat::Float);
    if (!device.isFormatSupported(format))
        logLine(QStringLiteral("[Audio] A hangeszköz nem támogatja a lebegőpontos formátumot: ") +
                device.description());
    m_sink = std::make_unique<QAudioSink>(device, format);
    connect(m_sink.get(), &QAudioSink::stateChanged, this, [this] { handleStateChange(); });
    m_feed->open(QIODevice::ReadOnly);
}

SinkAudioPlayer::~SinkAudioPlayer()
{
    stopSink();
}

double SinkAudioPlayer::currentTime() const
{
    if (!m_playing)
        return m_position;
    return std::min(m_duration, m_startTime + double(m_sink->processedUSecs()) / 1e6);
}

void SinkAudioPlayer::startAt(double seconds)
{
    const int64_t frame = int64_t(std::floor(seconds * m_audio->sampleRate));
    m_feed->setFrame(frame);
    m_startTime = double(frame) / m_audio->sampleRate;
    m_playing = true;
    // start() restarts processedUSecs() at zero.
    m_sink->start(m_feed.get());
}

void SinkAudioPlayer::stopSink()
{
    if (m_sink && m_sink->state() != QAudio::StoppedState) {
        const bool wasPlaying = m_playing;
        m_playing = false; // the state change of stop() is not the end of the recording
        m_sink->stop();
        m_playing = wasPlaying;
    }
}

void SinkAudioPlayer::play()
{
    if (m_playing || m_position >= m_duration)
        return;
    startAt(m_position);
}

void SinkAudioPlayer::pause()
{
    if (!m_playing)
        return;
    m_position = currentTime();
    stopSink();
    m_playing = false;
}

void SinkAudioPlayer::setCurrentTime(double seconds)
{
    const double target = std::clamp(seconds, 0.0, m_duration);
    if (!m_playing) {
        m_position = target;
        return;
    }
    stopSink();
    m_position = target;
    startAt(target);
}

bool SinkAudioPlayer::isPlaying() const
{
    return m_playing;
}

void SinkAudioPlayer::handleStateChange()
{
    // The pull feed ran out: the recording has been played to its end.
    if (m_playing && m_sink->state() == QAudio::IdleState && m_feed->atEndOfAudio()) {
        m_position = m_duration;
        stopSink();
        m_playing = false;
    }
}
