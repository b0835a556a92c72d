#include "audio/ProcessedAudioBuilder.h"

#include "audio/FloatWavWriter.h"
#include "audio/Loudness.h"
#include "audio/SilenceRendering.h"

#include <QFile>

#include <algorithm>
#include <cstdint>

#include <sys/mman.h>

namespace {
// Frames per hand-over: big enough to keep locking rare, small enough to stay in cache.
constexpr size_t kChunkFrames = 16384;
// Chunks waiting at most; the decoder waits when the worker falls behind.
constexpr size_t kMaxQueued = 16;
// A processed recording is hundreds of megabytes written once from start to end: backing it
// with huge pages saves most of the page faults of filling it.
void adviseHugePages(const std::vector<float>& channel)
{
    constexpr uintptr_t kHugePage = uintptr_t(2) << 20;
    const auto begin = reinterpret_cast<uintptr_t>(channel.data());
    const uintptr_t end = begin + channel.capacity() * sizeof(float);
    const uintptr_t alignedBegin = (begin + kHugePage - 1) & ~(kHugePage - 1);
    const uintptr_t alignedEnd = end & ~(kHugePage - 1);
    if (alignedEnd > alignedBegin)
        madvise(reinterpret_cast<void*>(alignedBegin), alignedEnd - alignedBegin, MADV_HUGEPAGE);
}

} // namespace

ProcessedAudioBuilder::ProcessedAudioBuilder(ProcessedAudioRequest request)
    : m_request(std::move(request))
{}

ProcessedAudioBuilder::~ProcessedAudioBuilder()
{
    if (m_worker.joinable()) {
        {
            std::lock_guard lock(m_mutex);
            m_finished = true;
        }
        m_changed.notify_all();
        m_worker.join();
    }
}

void ProcessedAudioBuilder::begin(int sampleRate, int channelCount, int64_t expectedFrames)
{
    m_channels = channelCount;
    const uint32_t startFrames = silenceFrameCount(m_request.startSilence, sampleRate);
    m_endFrames = silenceFrameCount(m_request.endSilence, sampleRate);

    m_result.squareSums.assign(size_t(channelCount), 0.0);
    m_result.sourceOffset = startFrames;
    m_result.audio = std::make_shared<AudioBuffer>();
    m_result.audio->sampleRate = sampleRate;
    m_result.audio->channels.resize(size_t(channelCount));
    for (auto& channel : m_result.audio->channels) {
        if (expectedFrames > 0) {
            try {
                channel.reserve(size_t(startFrames) + size_t(expectedFrames) + size_t(m_endFrames));
            } catch (const std::bad_alloc&) {
                // The channel grows as it goes instead.
            }
        }
        adviseHugePages(channel);
        channel.assign(startFrames, 0.0f);
    }
    m_result.slices.samplesPerFrame = m_request.samplesPerFrame;

    m_ownedWriter = std::make_unique<FloatWavWriter>();
    if (m_ownedWriter->open(m_request.wavPath, sampleRate, channelCount, &m_result.writeError) &&
        m_ownedWriter->writeSilence(startFrames, &m_result.writeError)) {
        m_writer = m_ownedWriter.get();
    }

    m_chunk.assign(size_t(channelCount), std::vector<float>(kChunkFrames));
    m_pointers.assign(size_t(channelCount), nullptr);
    m_worker = std::thread([this] { work(); });
}

std::span<float* const> ProcessedAudioBuilder::blockFor(int frameCount)
{
    if (m_chunkFrames + size_t(frameCount) > m_chunk.front().size()) {
        pushChunk();
        if (size_t(frameCount) > m_chunk.front().size()) {
            for (auto& channel : m_chunk)
                channel.resize(size_t(frameCount));
        }
    }
    for (size_t c = 0; c < m_chunk.size(); ++c)
        m_pointers[c] = m_chunk[c].data() + m_chunkFrames;
    return m_pointers;
}

void ProcessedAudioBuilder::commit(int frameCount)
{
    m_chunkFrames += size_t(std::max(frameCount, 0));
}

void ProcessedAudioBuilder::pushChunk()
{
    if (m_chunkFrames == 0)
        return;
    Chunk full;
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [this] { return m_queue.size() < kMaxQueued; });
        // Chunks the worker is done with are filled again rather than allocated anew.
        if (!m_spare.empty()) {
            full = std::move(m_spare.back());
            m_spare.pop_back();
        }
    }
    if (full.empty())
        full.assign(static_cast<size_t>(m_channels), std::vector<float>(m_chunk.front().size()));
    std::swap(full, m_chunk);
    {
        std::lock_guard lock(m_mutex);
        m_queue.emplace_back(std::move(full), m_chunkFrames);
    }
    m_changed.notify_all();
    m_chunkFrames = 0;
}

bool ProcessedAudioBuilder::stopRequested() const
{
    return m_workerFailed.load(std::memory_order_relaxed) ||
           (m_request.cancelled && m_request.cancelled->load(std::memory_order_relaxed));
}

void ProcessedAudioBuilder::work()
{
    while (true) {
        std::pair<Chunk, size_t> next;
        {
            std::unique_lock lock(m_mutex);
            m_changed.wait(lock, [this] { return !m_queue.empty() || m_finished; });
            if (m_queue.empty())
                return;
            next = std::move(m_queue.front());
            m_queue.pop_front();
        }
        m_changed.notify_all();
        if (!m_workerFailed.load(std::memory_order_relaxed)) {
            // A thread must never end in an exception: the failure is kept for build(), and
            // the remaining chunks are only drained so that the decoder does not wait.
            try {
                faultPoint(m_request.faultHook, "decodeBlock");
                consume(next.first, next.second);
            } catch (...) {
                std::lock_guard lock(m_mutex);
                m_workerError = std::current_exception();
                m_workerFailed.store(true, std::memory_order_relaxed);
            }
        }
        std::lock_guard lock(m_mutex);
        if (m_spare.size() < kMaxQueued)
            m_spare.push_back(std::move(next.first));
    }
}

void ProcessedAudioBuilder::consume(const Chunk& chunk, size_t frames)
{
    const float gain = m_request.gain;
    AudioBuffer& audio = *m_result.audio;
    for (size_t c = 0; c < chunk.size(); ++c) {
        const std::span<const float> block(chunk[c].data(), frames);
        accumulateSquares(block, m_result.squareSums[c]);
        std::vector<float>& out = audio.channels[c];
        if (gain == 1.0f) {
            out.insert(out.end(), block.begin(), block.end());
        } else {
            for (const float sample : block)
                out.push_back(sample * gain);
        }
    }
    m_result.sourceFrames += int64_t(frames);
    if (m_writer) {
        // The WAV gets exactly the samples just stored.
        const size_t channels = chunk.size();
        const size_t start = audio.channels.front().size() - frames;
        m_interleaved.resize(frames * channels);
        for (size_t c = 0; c < channels; ++c) {
            const float* source = audio.channels[c].data() + start;
            for (size_t i = 0; i < frames; ++i)
                m_interleaved[i * channels + c] = source[i];
        }
        if (!m_writer->writeInterleaved(m_interleaved, &m_result.writeError))
            m_writer = nullptr;
    }
    appendWholeSlices(audio.channels.front(), m_result.slices);
}

ProcessedAudioResult ProcessedAudioBuilder::build(const QString& sourcePath)
{
    m_result.decode = decodeAudioFileInto(sourcePath, *this);
    if (m_worker.joinable()) {
        pushChunk();
        {
            std::lock_guard lock(m_mutex);
            m_finished = true;
        }
        m_changed.notify_all();
        m_worker.join();
    }
    const bool cancelled = m_request.cancelled && m_request.cancelled->load(std::memory_order_relaxed);
    if (m_workerError || cancelled) {
        if (m_ownedWriter) {
            m_ownedWriter->close(nullptr);
            QFile::remove(m_request.wavPath);
        }
        m_result.audio.reset();
        if (m_workerError)
            std::rethrow_exception(m_workerError);
        m_result.decode.ok = false;
        m_result.decode.error = QStringLiteral("megszakítva");
        return std::move(m_result);
    }
    if (!m_result.decode.ok) {
        // Nothing to play: the started file is not left in the temporary folder.
        if (m_ownedWriter) {
            m_ownedWriter->close(nullptr);
            QFile::remove(m_request.wavPath);
        }
        m_result.audio.reset();
        return std::move(m_result);
    }
    for (auto& channel : m_result.audio->channels)
        channel.insert(channel.end(), m_endFrames, 0.0f);
    if (m_writer && !(m_writer->writeSilence(m_endFrames, &m_result.writeError) &&
                      m_writer->close(&m_result.writeError))) {
        m_writer = nullptr;
    }
    finishSlices(m_result.audio->channels.front(), m_result.slices);
    return std::move(m_result);
}
