#include "export/CabacEncoder.h"
#include "export/BitReader.h"

#include <gtest/gtest.h>

#include <random>

namespace {

// The decoding side of the arithmetic coder, written from the decoder's point of view (a
// 9-bit offset read ahead of the range), so the encoder is checked against its inverse.
class TestDecoder {
public:
    explicit TestDecoder(const std::vector<uint8_t>& bytes)
        : m_reader(bytes)
    {
        m_offset = m_reader.readBits(9);
    }

    bool decodeDecision(CabacContext& context)
    {
        const uint32_t rangeLps = static_cast<uint32_t>(cabacRangeLps(context.state, (m_range >> 6) & 3));
        m_range -= rangeLps;
        bool bin = context.mostProbable;
        if (m_offset >= m_range) {
            bin = !bin;
            m_offset -= m_range;
            m_range = rangeLps;
            if (context.state == 0)
                context.mostProbable = !context.mostProbable;
            context.state = cabacNextStateAfterLps(context.state);
        } else {
            context.state = cabacNextStateAfterMps(context.state);
        }
        renormalize();
        return bin;
    }

    bool decodeTerminate()
    {
        m_range -= 2;
        if (m_offset >= m_range)
            return true; // the data ends here: the last bit read is the stop bit
        renormalize();
        return false;
    }

    const BitReader& reader() const { return m_reader; }

private:
    void renormalize()
    {
        while (m_range < 256) {
            m_range <<= 1;
            m_offset = (m_offset << 1) | m_reader.readBits(1);
        }
    }

    BitReader m_reader;
    uint32_t m_range = 510;
    uint32_t m_offset = 0;
};

struct CodedBin {
    int context = 0; // -1: a terminating bin
    bool value = false;
};

std::vector<uint8_t> encode(const std::vector<CodedBin>& bins, std::vector<CabacContext> contexts)
{
    BitWriter out;
    CabacEncoder encoder(out);
    for (const CodedBin& bin : bins) {
        if (bin.context < 0)
            encoder.encodeTerminate(bin.value);
        else
            encoder.encodeDecision(contexts[static_cast<size_t>(bin.context)], bin.value);
    }
    while (!out.byteAligned())
        out.putBit(false);
    return out.bytes();
}

// The last one bit of `bytes` (the stop bit) is at this bit position.
int64_t stopBitPosition(const std::vector<uint8_t>& bytes)
{
    for (int64_t i = static_cast<int64_t>(bytes.size()) * 8 - 1; i >= 0; --i) {
        if ((bytes[static_cast<size_t>(i / 8)] >> (7 - i % 8)) & 1)
            return i;
    }
    return -1;
}

} // namespace

TEST(CabacEncoder, ContextStartsFromItsPairAndTheSliceQp)
{
    // (23, 33) at QP 26: 37 + 33 = 70, so state 6 with one as the likely value.
    const CabacContext a = initCabacContext(23, 33, 26);
    EXPECT_EQ(a.state, 6);
    EXPECT_TRUE(a.mostProbable);
    // (29, 16) at QP 10: 18 + 16 = 34, so state 29 with zero as the likely value.
    const CabacContext b = initCabacContext(29, 16, 10);
    EXPECT_EQ(b.state, 29);
    EXPECT_FALSE(b.mostProbable);
    // The QP is clipped to 0..51 and the result to 1..126.
    EXPECT_EQ(initCabacContext(-20, 0, 40).state, 62);
    EXPECT_EQ(initCabacContext(30, 100, 60).state, 62);
    EXPECT_TRUE(initCabacContext(30, 100, 60).mostProbable);
}

TEST(CabacEncoder, TerminatingAtOnceWritesSevenOnesThenTheStopBit)
{
    // From the start the flush leaves low at zero with seven outstanding bits: the first
    // (zero) bit is dropped, the seven ones follow, then "01", the one being the stop bit.
    const std::vector<uint8_t> bytes = encode({{-1, true}}, {});
    EXPECT_EQ(bytes, (std::vector<uint8_t>{0xfe, 0x80}));
}

TEST(CabacEncoder, RandomBinsDecodeBackAndEndOnTheStopBit)
{
    std::mt19937 random(1234);
    for (int round = 0; round < 200; ++round) {
        std::vector<CabacContext> contexts;
        for (int i = 0; i < 4; ++i)
            contexts.push_back(initCabacContext(static_cast<int>(random() % 60) - 30,
                                                static_cast<int>(random() % 127),
                                                static_cast<int>(random() % 52)));
        // Each context leans towards its own value, with some surprises, so states run
        // both up to the skewed end and back.
        std::vector<CodedBin> bins;
        const int count = 1 + static_cast<int>(random() % 3000);
        for (int i = 0; i < count; ++i) {
            const int context = static_cast<int>(random() % 5) - 1;
            const bool value =
                    context < 0 ? false : ((random() % 100) < static_cast<unsigned>(context * 30)) != 0;
            bins.push_back({context, value});
        }
        bins.push_back({-1, true});
        const std::vector<uint8_t> bytes = encode(bins, contexts);

        TestDecoder decoder(bytes);
        std::vector<CabacContext> decoding = contexts;
        for (size_t i = 0; i < bins.size(); ++i) {
            const bool value =
                    bins[i].context < 0
                            ? decoder.decodeTerminate()
                            : decoder.decodeDecision(decoding[static_cast<size_t>(bins[i].context)]);
            ASSERT_EQ(value, bins[i].value) << "round " << round << " bin " << i;
        }
        EXPECT_TRUE(decoder.reader().ok());
        EXPECT_EQ(decoder.reader().position(), stopBitPosition(bytes) + 1) << "round " << round;
        EXPECT_LT(decoder.reader().bitsLeft(), 8);
    }
}

TEST(CabacEncoder, LongRunOfLikelyBinsCostsLittle)
{
    // 8160 skipped macroblocks of a 1080p picture: a flag and an end-of-slice bin each.
    std::vector<CodedBin> bins;
    for (int i = 0; i < 8160; ++i) {
        bins.push_back({0, true});
        bins.push_back({-1, i == 8159});
    }
    const std::vector<uint8_t> bytes = encode(bins, {initCabacContext(23, 33, 26)});
    EXPECT_LT(bytes.size(), 60U);
    TestDecoder decoder(bytes);
    CabacContext context = initCabacContext(23, 33, 26);
    for (int i = 0; i < 8160; ++i) {
        ASSERT_TRUE(decoder.decodeDecision(context));
        ASSERT_EQ(decoder.decodeTerminate(), i == 8159);
    }
}
