// Plays the processed recording from memory through QAudioSink, as 32-bit float samples at
// the recording's own rate and channel count. The position is the start position plus the
// sink's processed time, which the sound server already corrects for its own latency, so
// it follows what is heard (a buffer underrun stops it too). Main thread; owns the sink.
//
// The samples are pushed by a 10 ms timer into the sink's device rather than pulled by the
// sink: with Qt 6.4's PulseAudio backend the pull mode stalls for up to a second after a
// start, which would both delay the sound and freeze the position.
#pragma once

#include "audio/AudioPlayer.h"

#include <QAudioDevice>
#include <QObject>
#include <QTimer>

#include <memory>

class QAudioSink;
class QIODevice;

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
    // Tops up the sink's buffer; notices the end of the recording.
    void feed();

    std::shared_ptr<const AudioBuffer> m_audio;
    double m_duration = 0.0;
    std::unique_ptr<QAudioSink> m_sink;
    QIODevice* m_output = nullptr; // owned by the sink while it runs
    QTimer m_feedTimer;
    std::vector<float> m_interleaved; // one block, reused
    bool m_playing = false;
    double m_position = 0.0;  // while paused
    double m_startTime = 0.0; // where the running sink started
    int64_t m_nextFrame = 0;  // next frame to hand to the sink
};
