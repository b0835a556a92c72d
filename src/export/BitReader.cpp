#include "export/BitReader.h"

uint32_t BitReader::readBits(int count)
{
    uint32_t value = 0;
    for (int i = 0; i < count; ++i) {
        if (bitsLeft() <= 0) {
            m_ok = false;
            return 0;
        }
        const uint8_t byte = m_bytes[static_cast<size_t>(m_position / 8)];
        value = (value << 1) | ((byte >> (7 - m_position % 8)) & 1U);
        ++m_position;
    }
    return value;
}

uint32_t BitReader::readUe()
{
    int zeros = 0;
    while (!readBit()) {
        if (!m_ok || ++zeros > 31) {
            m_ok = false;
            return 0;
        }
    }
    const uint64_t value = (uint64_t(1) << zeros) - 1 + readBits(zeros);
    if (!m_ok || value > UINT32_MAX) {
        m_ok = false;
        return 0;
    }
    return static_cast<uint32_t>(value);
}

int32_t BitReader::readSe()
{
    const uint32_t code = readUe();
    const int64_t magnitude = (int64_t(code) + 1) / 2;
    return static_cast<int32_t>((code & 1U) ? magnitude : -magnitude);
}
