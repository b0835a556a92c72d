#include "audio/FloatWavWriter.h"

#include <QtEndian>

#include <algorithm>
#include <cstring>
#include <limits>
#include <vector>

namespace {

constexpr uint16_t kFormatIeeeFloat = 3;
constexpr int kBytesPerSample = 4;
// RIFF sizes are 32-bit: header (58 bytes with the fact chunk) plus data must stay below 4 GiB.
constexpr int kHeaderSize = 58;
constexpr int64_t kMaxDataBytes = int64_t(std::numeric_limits<uint32_t>::max()) - kHeaderSize;

void put32(std::vector<char>& out, uint32_t value)
{
    char bytes[4];
    qToLittleEndian(value, bytes);
    out.insert(out.end(), bytes, bytes + 4);
}

void put16(std::vector<char>& out, uint16_t value)
{
    char bytes[2];
    qToLittleEndian(value, bytes);
    out.insert(out.end(), bytes, bytes + 2);
}

void putTag(std::vector<char>& out, const char* tag)
{
    out.insert(out.end(), tag, tag + 4);
}

} // namespace

FloatWavWriter::~FloatWavWriter()
{
    if (m_file.isOpen())
        close(nullptr);
}

bool FloatWavWriter::open(const QString& path, int sampleRate, int channelCount, QString* error)
{
    if (sampleRate <= 0 || channelCount <= 0 || channelCount > 0xFFFF) {
        if (error)
            *error = QStringLiteral("érvénytelen hangformátum: %1 Hz, %2 csatorna")
                             .arg(sampleRate)
                             .arg(channelCount);
        return false;
    }
    m_file.setFileName(path);
    if (!m_file.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        if (error)
            *error = m_file.errorString();
        return false;
    }
    m_sampleRate = sampleRate;
    m_channelCount = channelCount;
    m_framesWritten = 0;
    return writeHeader(error);
}

bool FloatWavWriter::writeHeader(QString* error)
{
    const int64_t dataBytes = m_framesWritten * m_channelCount * kBytesPerSample;
    const uint32_t blockAlign = uint32_t(m_channelCount) * kBytesPerSample;
    std::vector<char> header;
    header.reserve(kHeaderSize);
    putTag(header, "RIFF");
    put32(header, uint32_t(kHeaderSize - 8 + dataBytes));
    putTag(header, "WAVE");
    putTag(header, "fmt ");
    put32(header, 18); // fmt chunk of a non-PCM format carries a cbSize field
    put16(header, kFormatIeeeFloat);
    put16(header, uint16_t(m_channelCount));
    put32(header, uint32_t(m_sampleRate));
    put32(header, uint32_t(m_sampleRate) * blockAlign);
    put16(header, uint16_t(blockAlign));
    put16(header, kBytesPerSample * 8);
    put16(header, 0);
    putTag(header, "fact");
    put32(header, 4);
    put32(header, uint32_t(m_framesWritten));
    putTag(header, "data");
    put32(header, uint32_t(dataBytes));
    if (!m_file.seek(0)) {
        if (error)
            *error = m_file.errorString();
        return false;
    }
    return writeBytes(header.data(), int64_t(header.size()), error);
}

bool FloatWavWriter::writeBytes(const char* data, int64_t size, QString* error)
{
    // A short write (the disk filled up mid-way) is followed by another attempt at the rest,
    // which then fails with the reason the error message should give.
    for (int64_t done = 0; done < size;) {
        const int64_t written = m_file.write(data + done, size - done);
        if (written <= 0) {
            if (error)
                *error = m_file.errorString();
            return false;
        }
        done += written;
    }
    return true;
}

bool FloatWavWriter::writeInterleaved(std::span<const float> samples, QString* error)
{
    const int64_t frames = int64_t(samples.size()) / m_channelCount;
    if ((m_framesWritten + frames) * m_channelCount * kBytesPerSample > kMaxDataBytes) {
        if (error)
            *error = QStringLiteral("a WAV fájl nem lehet nagyobb 4 GB-nál");
        return false;
    }
    static_assert(Q_BYTE_ORDER == Q_LITTLE_ENDIAN, "float samples are written in machine order");
    if (!writeBytes(reinterpret_cast<const char*>(samples.data()), frames * m_channelCount * kBytesPerSample,
                    error))
        return false;
    m_framesWritten += frames;
    return true;
}

bool FloatWavWriter::writeBuffer(const AudioBuffer& buffer, float gain, QString* error)
{
    // Interleave in blocks so that memory stays small whatever the length.
    constexpr int64_t kBlockFrames = 65536;
    const int channels = buffer.channelCount();
    const int64_t total = buffer.frameCount();
    std::vector<float> block;
    for (int64_t start = 0; start < total; start += kBlockFrames) {
        const int64_t count = std::min(kBlockFrames, total - start);
        block.resize(size_t(count * channels));
        for (int c = 0; c < channels; ++c) {
            const float* source = buffer.channels[size_t(c)].data() + start;
            for (int64_t i = 0; i < count; ++i)
                block[size_t(i * channels + c)] = gain == 1.0f ? source[i] : source[i] * gain;
        }
        if (!writeInterleaved(block, error))
            return false;
    }
    return true;
}

bool FloatWavWriter::writeSilence(int64_t frameCount, QString* error)
{
    constexpr int64_t kBlockFrames = 65536;
    std::vector<float> zeros(
            size_t(std::min(kBlockFrames, std::max<int64_t>(frameCount, 0)) * m_channelCount), 0.0f);
    for (int64_t done = 0; done < frameCount;) {
        const int64_t count = std::min(kBlockFrames, frameCount - done);
        if (!writeInterleaved(std::span<const float>(zeros.data(), size_t(count * m_channelCount)), error))
            return false;
        done += count;
    }
    return true;
}

bool FloatWavWriter::close(QString* error)
{
    if (!m_file.isOpen())
        return true;
    const bool headerOk = writeHeader(error);
    const bool flushed = m_file.flush();
    if (!flushed && error && headerOk)
        *error = m_file.errorString();
    m_file.close();
    return headerOk && flushed;
}

bool writeFloatWav(const QString& path, const AudioBuffer& buffer, QString* error)
{
    FloatWavWriter writer;
    return writer.open(path, buffer.sampleRate, buffer.channelCount(), error) &&
           writer.writeBuffer(buffer, 1.0f, error) && writer.close(error);
}
