#include "export/BitWriter.h"

#include <bit>

void BitWriter::putBits(uint32_t value, int count)
{
    for (int i = count - 1; i >= 0; --i) {
        m_pending = (m_pending << 1) | ((value >> i) & 1U);
        if (++m_pendingBits == 8) {
            m_bytes.push_back(static_cast<uint8_t>(m_pending));
            m_pending = 0;
            m_pendingBits = 0;
        }
    }
}

void BitWriter::putUe(uint32_t value)
{
    // value + 1 in binary, preceded by as many zeros as it has bits after the leading one.
    const uint64_t code = uint64_t(value) + 1;
    const int length = static_cast<int>(std::bit_width(code));
    putBits(0, length - 1);
    if (length > 32) {
        putBits(static_cast<uint32_t>(code >> 32), length - 32);
        putBits(static_cast<uint32_t>(code), 32);
    } else {
        putBits(static_cast<uint32_t>(code), length);
    }
}

void BitWriter::putSe(int32_t value)
{
    const int64_t k = value;
    putUe(static_cast<uint32_t>(k > 0 ? 2 * k - 1 : -2 * k));
}

void BitWriter::putTrailingBits()
{
    putBit(true);
    while (!byteAligned())
        putBit(false);
}

std::vector<uint8_t> addEmulationPrevention(std::span<const uint8_t> rbsp)
{
    std::vector<uint8_t> payload;
    payload.reserve(rbsp.size() + rbsp.size() / 64 + 1);
    int zeros = 0;
    for (const uint8_t byte : rbsp) {
        if (zeros >= 2 && byte <= 3) {
            payload.push_back(3);
            zeros = 0;
        }
        payload.push_back(byte);
        zeros = byte == 0 ? zeros + 1 : 0;
    }
    return payload;
}

std::vector<uint8_t> removeEmulationPrevention(std::span<const uint8_t> payload)
{
    std::vector<uint8_t> rbsp;
    rbsp.reserve(payload.size());
    int zeros = 0;
    for (const uint8_t byte : payload) {
        if (zeros >= 2 && byte == 3) {
            zeros = 0;
            continue;
        }
        rbsp.push_back(byte);
        zeros = byte == 0 ? zeros + 1 : 0;
    }
    return rbsp;
}
