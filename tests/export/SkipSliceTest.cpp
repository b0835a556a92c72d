#include "export/SkipSlice.h"
#include "export/BitReader.h"
#include "export/BitWriter.h"

#include <gtest/gtest.h>

namespace {

// A 1080p stream as the stretch encoder describes it.
H264SkipParameters fullHd()
{
    H264SkipParameters p;
    p.spsId = 0;
    p.ppsId = 0;
    p.log2MaxFrameNum = 4;
    p.picOrderCntType = 2;
    p.widthInMbs = 120;
    p.heightInMbs = 68;
    p.weightedPred = true;
    p.deblockingFilterControlPresent = true;
    p.numRefIdxL0DefaultActive = 1;
    return p;
}

struct ParsedSkip {
    uint8_t nalHeader = 0;
    uint32_t firstMb = 99, sliceType = 99, ppsId = 99, frameNum = 99;
    uint32_t pocLsb = 0;
    int32_t pocBottom = 0;
    bool overrideFlag = true, modification = true, adaptiveMarking = true;
    uint32_t lumaDenom = 99, chromaDenom = 99;
    int weightFlagsSet = -1;
    uint32_t cabacInitIdc = 99;
    int32_t qpDelta = 99;
    uint32_t deblockingIdc = 99;
    uint32_t skipRun = 0;
    bool trailingOk = false;
    bool ok = false;
};

// Reads a skip slice back field by field, the way a decoder would for these parameters.
ParsedSkip parse(const std::vector<uint8_t>& nal, const H264SkipParameters& p)
{
    ParsedSkip out;
    if (nal.size() < 6 || nal[0] != 0 || nal[1] != 0 || nal[2] != 0 || nal[3] != 1)
        return out;
    out.nalHeader = nal[4];
    const std::vector<uint8_t> rbsp = removeEmulationPrevention(std::span<const uint8_t>(nal).subspan(5));
    BitReader r(rbsp);
    out.firstMb = r.readUe();
    out.sliceType = r.readUe();
    out.ppsId = r.readUe();
    out.frameNum = r.readBits(p.log2MaxFrameNum);
    if (p.picOrderCntType == 0) {
        out.pocLsb = r.readBits(p.log2MaxPicOrderCntLsb);
        if (p.bottomFieldPicOrderInFramePresent)
            out.pocBottom = r.readSe();
    }
    if (p.redundantPicCntPresent)
        r.readUe();
    out.overrideFlag = r.readBit();
    out.modification = r.readBit();
    if (p.weightedPred) {
        out.lumaDenom = r.readUe();
        out.chromaDenom = r.readUe();
        out.weightFlagsSet = 0;
        for (int i = 0; i < 2 * p.numRefIdxL0DefaultActive; ++i)
            out.weightFlagsSet += r.readBit() ? 1 : 0;
    }
    out.adaptiveMarking = r.readBit();
    if (p.cabac)
        out.cabacInitIdc = r.readUe();
    out.qpDelta = r.readSe();
    if (p.deblockingFilterControlPresent)
        out.deblockingIdc = r.readUe();
    if (p.cabac) {
        // cabac_alignment_one_bit up to the byte boundary, then the coded macroblocks, which
        // end on the stop bit and zeros in the last byte.
        bool ones = true;
        while (r.position() % 8 != 0)
            ones = ones && r.readBit();
        out.trailingOk = ones && r.bitsLeft() >= 8 && rbsp.back() != 0;
        out.ok = r.ok();
        return out;
    }
    out.skipRun = r.readUe();
    // rbsp_trailing_bits: a one, then zeros to the end of the last byte, and nothing after.
    out.trailingOk = r.readBit() && r.bitsLeft() < 8 && r.readBits(static_cast<int>(r.bitsLeft())) == 0;
    out.ok = r.ok();
    return out;
}

} // namespace

TEST(SkipSlice, OneSliceOfPTypeSkippingEveryMacroblock)
{
    const H264SkipParameters p = fullHd();
    const ParsedSkip s = parse(buildSkipSlice(p, 1), p);
    ASSERT_TRUE(s.ok);
    EXPECT_EQ(s.nalHeader & 0x1f, 1);     // coded slice of a non-IDR picture
    EXPECT_NE((s.nalHeader >> 5) & 3, 0); // a reference picture
    EXPECT_EQ(s.nalHeader & 0x80, 0);
    EXPECT_EQ(s.firstMb, 0U);
    EXPECT_EQ(s.sliceType % 5, 0U); // P
    EXPECT_EQ(s.ppsId, 0U);
    EXPECT_EQ(s.frameNum, 1U);
    EXPECT_FALSE(s.overrideFlag);
    EXPECT_FALSE(s.modification);
    EXPECT_EQ(s.lumaDenom, 0U);
    EXPECT_EQ(s.chromaDenom, 0U);
    EXPECT_EQ(s.weightFlagsSet, 0);
    EXPECT_FALSE(s.adaptiveMarking);
    EXPECT_EQ(s.qpDelta, 0);
    EXPECT_EQ(s.deblockingIdc, 1U);
    EXPECT_EQ(s.skipRun, 8160U);
    EXPECT_TRUE(s.trailingOk);
}

TEST(SkipSlice, FrameNumWrapsAroundPastMaxFrameNum)
{
    const H264SkipParameters p = fullHd(); // MaxFrameNum 16
    EXPECT_EQ(parse(buildSkipSlice(p, 15), p).frameNum, 15U);
    EXPECT_EQ(parse(buildSkipSlice(p, 16), p).frameNum, 0U);
    EXPECT_EQ(parse(buildSkipSlice(p, 17), p).frameNum, 1U);
    EXPECT_EQ(parse(buildSkipSlice(p, 16 * 1000 + 5), p).frameNum, 5U);
}

TEST(SkipSlice, PictureOrderCountLsbWhenTheStreamUsesTypeZero)
{
    H264SkipParameters p = fullHd();
    p.picOrderCntType = 0;
    p.log2MaxPicOrderCntLsb = 5; // 32: wraps every 16 frames
    p.bottomFieldPicOrderInFramePresent = true;
    const ParsedSkip third = parse(buildSkipSlice(p, 3), p);
    ASSERT_TRUE(third.ok);
    EXPECT_EQ(third.pocLsb, 6U);
    EXPECT_EQ(third.pocBottom, 0);
    EXPECT_EQ(third.skipRun, 8160U);
    EXPECT_TRUE(third.trailingOk);
    EXPECT_EQ(parse(buildSkipSlice(p, 17), p).pocLsb, 2U);
}

TEST(SkipSlice, NoWeightTableWithoutWeightedPredictionAndNoIdcWithoutDeblockingControl)
{
    H264SkipParameters p = fullHd();
    p.weightedPred = false;
    p.deblockingFilterControlPresent = false;
    const ParsedSkip s = parse(buildSkipSlice(p, 2), p);
    ASSERT_TRUE(s.ok);
    EXPECT_EQ(s.skipRun, 8160U);
    EXPECT_TRUE(s.trailingOk);
    EXPECT_EQ(s.frameNum, 2U);
}

TEST(SkipSlice, MacroblockCountComesFromTheSizeIn4K)
{
    H264SkipParameters p = fullHd();
    p.widthInMbs = 240;
    p.heightInMbs = 135;
    const ParsedSkip s = parse(buildSkipSlice(p, 1), p);
    ASSERT_TRUE(s.ok);
    EXPECT_EQ(s.skipRun, 32400U);
}

TEST(SkipSlice, CabacSliceCarriesItsInitTableBeforeTheQpDeltaAndStaysSmall)
{
    H264SkipParameters p = fullHd();
    p.cabac = true;
    p.picInitQpMinus26 = -4;
    const std::vector<uint8_t> nal = buildSkipSlice(p, 3);
    const ParsedSkip s = parse(nal, p);
    ASSERT_TRUE(s.ok);
    EXPECT_EQ(s.frameNum, 3U);
    EXPECT_FALSE(s.adaptiveMarking);
    EXPECT_EQ(s.cabacInitIdc, 0U);
    EXPECT_EQ(s.qpDelta, 0);
    EXPECT_EQ(s.deblockingIdc, 1U);
    EXPECT_TRUE(s.trailingOk);
    // 8160 likely flags and end-of-slice bins come to a few dozen bytes.
    EXPECT_LT(nal.size(), 80U);
    const ParsedSkip varied = parse(buildSkipSlice(p, 3, SkipSliceCoding{2, 5}), p);
    EXPECT_EQ(varied.cabacInitIdc, 2U);
    EXPECT_EQ(varied.qpDelta, 5);
    EXPECT_TRUE(varied.trailingOk);
}

TEST(SkipSlice, PayloadNeverContainsAStartCode)
{
    // Values chosen so that the header has long runs of zero bits.
    H264SkipParameters p = fullHd();
    p.log2MaxFrameNum = 16;
    p.picOrderCntType = 0;
    p.log2MaxPicOrderCntLsb = 16;
    p.widthInMbs = 256;
    p.heightInMbs = 256;
    for (const int64_t n : {int64_t(1), int64_t(65536), int64_t(32768), int64_t(65536 * 3)}) {
        const std::vector<uint8_t> nal = buildSkipSlice(p, n);
        for (size_t i = 6; i < nal.size(); ++i)
            EXPECT_FALSE(nal[i - 2] == 0 && nal[i - 1] == 0 && nal[i] <= 2) << n << " at " << i;
        const ParsedSkip s = parse(nal, p);
        EXPECT_TRUE(s.ok && s.trailingOk) << n;
        EXPECT_EQ(s.frameNum, static_cast<uint32_t>(n % 65536));
        EXPECT_EQ(s.skipRun, 65536U);
    }
}
