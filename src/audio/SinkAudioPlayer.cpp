#include "audio/SinkAudioPlayer.h"

#include "support/Log.h"

#include <QAudioFormat>
#include <QAudioSink>
#include <QIODevice>

#include <algorithm>
#include <cmath>

namespace {
constexpr int kFeedIntervalMs = 10;
}

SinkAudioPlayer::SinkAudioPlayer(std::shared_ptr<const AudioBuffer> audio, const QAudioDevice& device,
                                 QObject* parent)
    : QObject(parent)
    , m_audio(std::move(audio))
    , m_duration(m_audio->durationSeconds())
{
    QAudioFormat format;
    format.setSampleRate(m_audio->sampleRate);
    format.setChannelCount(m_audio->channelCount());
    format.setSampleFormat(QAudioFormat::Float);
    if (!device.isFormatSupported(format))
        logLine(QStringLiteral("[Audio] A hangeszköz nem támogatja a lebegőpontos formátumot: ") +
                device.description());
    m_sink = std::make_unique<QAudioSink>(device, format);
    m_feedTimer.setTimerType(Qt::PreciseTimer);
    m_feedTimer.setInterval(kFeedIntervalMs);
    connect(&m_feedTimer, &QTimer::timeout, this, [this] { feed(); });
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
    m_nextFrame =
            std::clamp<int64_t>(int64_t(std::floor(seconds * m_audio->sampleRate)), 0, m_audio->frameCount());
    m_startTime = double(m_nextFrame) / m_audio->sampleRate;
    m_playing = true;
    // start() restarts processedUSecs() at zero.
    m_output = m_sink->start();
    feed();
    m_feedTimer.start();
}

void SinkAudioPlayer::stopSink()
{
    m_feedTimer.stop();
    if (m_sink && m_sink->state() != QAudio::StoppedState)
        m_sink->stop();
    m_output = nullptr;
}

void SinkAudioPlayer::feed()
{
    if (!m_playing || !m_output)
        return;
    const int channels = m_audio->channelCount();
    const qint64 bytesPerFrame = qint64(sizeof(float)) * channels;
    const int64_t frames =
            std::min<int64_t>(m_sink->bytesFree() / bytesPerFrame, m_audio->frameCount() - m_nextFrame);
    if (frames > 0) {
        m_interleaved.resize(size_t(frames * channels));
        float* out = m_interleaved.data();
        for (int64_t i = 0; i < frames; ++i) {
            for (int c = 0; c < channels; ++c)
                *out++ = m_audio->channels[size_t(c)][size_t(m_nextFrame + i)];
        }
        const qint64 written =
                m_output->write(reinterpret_cast<const char*>(m_interleaved.data()), frames * bytesPerFrame);
        if (written > 0)
            m_nextFrame += written / bytesPerFrame;
    }
    // Everything was handed over and the sink has played it (or ran dry): the end.
    if (m_nextFrame >= m_audio->frameCount() &&
        (m_sink->state() == QAudio::IdleState || currentTime() >= m_duration)) {
        stopSink();
        m_position = m_duration;
        m_playing = false;
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
    m_position = target;
    if (!m_playing)
        return;
    stopSink();
    startAt(target);
}

bool SinkAudioPlayer::isPlaying() const
{
    return m_playing;
}
