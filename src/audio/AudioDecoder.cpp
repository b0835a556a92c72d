#include "audio/AudioDecoder.h"

#include <new>

namespace {

// Collects the decoded audio into one AudioBuffer.
class BufferReceiver : public DecodeReceiver {
public:
    void begin(int sampleRate, int channelCount, int64_t expectedFrames) override
    {
        audio.sampleRate = sampleRate;
        audio.channels.assign(size_t(channelCount), {});
        m_pointers.assign(size_t(channelCount), nullptr);
        // Growing the channels by doubling would hold up to twice the recording at the end.
        if (expectedFrames > 0) {
            try {
                for (auto& channel : audio.channels)
                    channel.reserve(size_t(expectedFrames));
            } catch (const std::bad_alloc&) {
                // Decoding grows the channels as it goes instead.
            }
        }
    }
    std::span<float* const> blockFor(int frameCount) override
    {
        m_start = audio.channels.front().size();
        for (size_t c = 0; c < audio.channels.size(); ++c) {
            audio.channels[c].resize(m_start + size_t(frameCount));
            m_pointers[c] = audio.channels[c].data() + m_start;
        }
        return m_pointers;
    }
    void commit(int frameCount) override
    {
        for (auto& channel : audio.channels)
            channel.resize(m_start + size_t(frameCount));
    }

    AudioBuffer audio;

private:
    std::vector<float*> m_pointers;
    size_t m_start = 0;
};

DecodeResult toResult(const DecodeStatus& status, BufferReceiver& receiver)
{
    DecodeResult result;
    result.error = status.error;
    result.truncated = status.truncated;
    if (status.ok)
        result.audio = std::move(receiver.audio);
    return result;
}

} // namespace

DecodeResult decodeAudioDevice(QIODevice& device, const QString& nameForMessages)
{
    BufferReceiver receiver;
    const DecodeStatus status = decodeAudioDeviceInto(device, nameForMessages, receiver);
    return toResult(status, receiver);
}

DecodeResult decodeAudioFile(const QString& path)
{
    BufferReceiver receiver;
    const DecodeStatus status = decodeAudioFileInto(path, receiver);
    return toResult(status, receiver);
}
