// Builds the processed recording while the user's file decodes: a worker thread takes the
// decoded blocks in order, sums their squares for the loudness, writes them with the gain
// into the processed buffer (after the start silence) and into the temporary float WAV,
// and cuts the frame slices as whole frames become available. The decoder runs on the
// calling thread, the rest beside it, so a load costs little more than the decode.
//
// The results are exactly those of decoding fully, then measureRmsLoudness,
// renderSilenceAndGain, writing the WAV and quantiseFrameSlices.
#pragma once

#include "audio/AudioBuffer.h"
#include "audio/AudioDecoder.h"
#include "audio/FloatWavWriter.h"
#include "audio/FrameSlicing.h"
#include "support/FaultHook.h"

#include <QString>

#include <atomic>
#include <condition_variable>
#include <deque>
#include <exception>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

struct ProcessedAudioRequest {
    double startSilence = 0.0;
    double endSilence = 0.0;
    float gain = 1.0f;
    QString wavPath;         // the temporary WAV to write
    int samplesPerFrame = 0; // of the frame slices
    // When set and true, decoding stops at its next packet and build() reports it.
    const std::atomic<bool>* cancelled = nullptr;
    // Called with "decodeBlock" for every block the worker thread takes (tests).
    FaultHook faultHook;
};

struct ProcessedAudioResult {
    DecodeStatus decode;            // how decoding went (errors, truncation)
    std::vector<double> squareSums; // per channel, of the source samples before the gain
    int64_t sourceFrames = 0;
    std::shared_ptr<AudioBuffer> audio; // start silence + gained source + end silence
    QString writeError;                 // empty when the WAV was written completely
    FrameAudioSlices slices;
    // Where the source's samples start in `audio`: after the start silence.
    size_t sourceOffset = 0;
};

class ProcessedAudioBuilder : private DecodeReceiver {
public:
    explicit ProcessedAudioBuilder(ProcessedAudioRequest request);
    ~ProcessedAudioBuilder() override;
    ProcessedAudioBuilder(const ProcessedAudioBuilder&) = delete;
    ProcessedAudioBuilder& operator=(const ProcessedAudioBuilder&) = delete;

    // Decodes `sourcePath` and builds everything; blocks until done. When nothing could be
    // decoded, no WAV file is left behind. An exception on the worker thread (an allocation
    // failure while the buffer grows) stops the decode and is rethrown here.
    ProcessedAudioResult build(const QString& sourcePath);

private:
    using Chunk = std::vector<std::vector<float>>;

    void begin(int sampleRate, int channelCount, int64_t expectedFrames) override;
    std::span<float* const> blockFor(int frameCount) override;
    void commit(int frameCount) override;
    bool stopRequested() const override;

    void pushChunk();
    void work();
    void consume(const Chunk& chunk, size_t frames);

    ProcessedAudioRequest m_request;
    ProcessedAudioResult m_result;
    uint32_t m_endFrames = 0;

    // Decoder side: the chunk being filled.
    Chunk m_chunk;
    size_t m_chunkFrames = 0;
    std::vector<float*> m_pointers;
    int m_channels = 0;

    // Hand-over between the decoder and the worker.
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<std::pair<Chunk, size_t>> m_queue;
    std::vector<Chunk> m_spare;
    bool m_finished = false;
    // Set by the worker when an exception ended its work; the decoder then stops.
    std::exception_ptr m_workerError;
    std::atomic<bool> m_workerFailed = false;
    std::thread m_worker;

    // Worker side.
    FloatWavWriter* m_writer = nullptr; // null once writing failed
    std::unique_ptr<FloatWavWriter> m_ownedWriter;
    std::vector<float> m_interleaved;
};
