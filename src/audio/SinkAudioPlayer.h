// Plays the processed recording from memory through QAudioSink in pull mode, as 32-bit
// float samples at the recording's own rate and channel count. The position is the start
// position plus the sink's processed time, which the sound server already corrects for its
// own latency, so it follows what is heard. Main thread; owns the sink and the sample feed.
#pragma once

#include "audio/AudioPlayer.h"

#include <QAudioDevice>
#include <QObject>

#include <memory>

class QAudioSink;
class PcmFeed;

class SinkAudioPlayer : public QObject, public AudioPlayer {
    Q_OBJECT

public:
    SinkAudioPlayer(std::shared_ptr<const AudioBuffer> audio, const QAudioDevice& device,
                    QObject* parent = nullptr);
    ~SinkAudioPlayer() override;

    double duration() const override { return m_duration; }
    double currentTime() const override;
    void setCurrentTime(double seconds) override;
    void play() override;
    void pause() override;
    bool isPlaying() const override;

private:
    void startAt(double seconds);
    void stopSink();
    void handleStateChange();

    std::shared_ptr<const AudioBuffer> m_audio;
    double m_duration = 0.0;
    std::unique_ptr<PcmFeed> m_feed;
    std::unique_ptr<QAudioSink> m_sink;
    bool m_playing = false;
    double m_position = 0.0;  // while paused
    double m_startTime = 0.0; // where the running sink started
};
