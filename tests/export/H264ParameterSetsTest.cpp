#include "export/H264ParameterSets.h"
#include "export/BitWriter.h"
#include "media/H264EncoderSetup.h"

#include <gtest/gtest.h>

extern "C" {
#include <libavcodec/avcodec.h>
}

namespace {

std::vector<uint8_t> extradataOf(int width, int height, H264EncoderUse use)
{
    QString error;
    const CodecContextPtr encoder = openH264Encoder(width, height, 30, use, &error);
    EXPECT_TRUE(encoder) << error.toStdString();
    if (!encoder)
        return {};
    return std::vector<uint8_t>(encoder->extradata, encoder->extradata + encoder->extradata_size);
}

void appendNal(std::vector<uint8_t>& stream, uint8_t header, BitWriter& bits)
{
    bits.putTrailingBits();
    stream.insert(stream.end(), {0, 0, 0, 1, header});
    const std::vector<uint8_t> payload = addEmulationPrevention(bits.bytes());
    stream.insert(stream.end(), payload.begin(), payload.end());
}

struct HandMadeSets {
    bool frameMbsOnly = true;
    uint32_t pocType = 2;
    bool cabac = false;
    int32_t picInitQpMinus26 = 0;
    uint32_t sliceGroupsMinus1 = 0;
    bool scalingMatrix = false;
};

// A High-profile SPS and a PPS written field by field, for the cases no encoder setting gives.
std::vector<uint8_t> handMade(const HandMadeSets& sets)
{
    std::vector<uint8_t> stream;
    BitWriter sps;
    sps.putBits(100, 8); // High
    sps.putBits(0, 8);
    sps.putBits(40, 8);
    sps.putUe(0); // seq_parameter_set_id
    sps.putUe(1); // 4:2:0
    sps.putUe(0);
    sps.putUe(0);
    sps.putBit(false);
    sps.putBit(sets.scalingMatrix);
    if (sets.scalingMatrix) {
        sps.putBit(true); // the first 4x4 list present: sixteen deltas
        for (int i = 0; i < 16; ++i)
            sps.putSe(i % 2 ? 3 : -3);
        for (int i = 1; i < 8; ++i)
            sps.putBit(false);
    }
    sps.putUe(0); // log2_max_frame_num_minus4
    sps.putUe(sets.pocType);
    if (sets.pocType == 0)
        sps.putUe(2);
    if (sets.pocType == 1) {
        sps.putBit(true);
        sps.putSe(0);
        sps.putSe(0);
        sps.putUe(0);
    }
    sps.putUe(1);      // max_num_ref_frames
    sps.putBit(false); // gaps
    sps.putUe(119);
    sps.putUe(sets.frameMbsOnly ? 67 : 33);
    sps.putBit(sets.frameMbsOnly);
    if (!sets.frameMbsOnly)
        sps.putBit(false);
    sps.putBit(true); // direct_8x8_inference_flag
    sps.putBit(false);
    sps.putBit(false);
    appendNal(stream, 0x67, sps);

    BitWriter pps;
    pps.putUe(0);
    pps.putUe(0);
    pps.putBit(sets.cabac);
    pps.putBit(false);
    pps.putUe(sets.sliceGroupsMinus1);
    if (sets.sliceGroupsMinus1 > 0) {
        pps.putUe(0); // slice_group_map_type 0
        for (uint32_t i = 0; i <= sets.sliceGroupsMinus1; ++i)
            pps.putUe(10);
    }
    pps.putUe(0);
    pps.putUe(0);
    pps.putBit(true);
    pps.putBits(0, 2);
    pps.putSe(sets.picInitQpMinus26);
    pps.putSe(0);
    pps.putSe(0);
    pps.putBit(true);
    pps.putBit(false);
    pps.putBit(false);
    appendNal(stream, 0x68, pps);
    return stream;
}

} // namespace

TEST(H264ParameterSets, StretchEncoderAtFullHdGivesWhatSkipPicturesNeed)
{
    const std::vector<uint8_t> extradata = extradataOf(1920, 1080, H264EncoderUse::stretches);
    QString why;
    const std::optional<H264SkipParameters> p = readH264SkipParameters(extradata, &why);
    ASSERT_TRUE(p.has_value()) << why.toStdString();
    EXPECT_EQ(p->picOrderCntType, 2);
    EXPECT_EQ(p->log2MaxFrameNum, 4);
    EXPECT_EQ(p->maxNumRefFrames, 1);
    EXPECT_EQ(p->widthInMbs, 120);
    EXPECT_EQ(p->heightInMbs, 68);
    EXPECT_EQ(p->macroblockCount(), 8160);
    EXPECT_EQ(p->chromaArrayType, 1);
    EXPECT_TRUE(p->weightedPred);
    EXPECT_TRUE(p->deblockingFilterControlPresent);
    EXPECT_FALSE(p->redundantPicCntPresent);
    EXPECT_EQ(p->numRefIdxL0DefaultActive, 1);
}

TEST(H264ParameterSets, PortraitAndUltraHdSizesComeFromTheSps)
{
    const std::optional<H264SkipParameters> portrait =
            readH264SkipParameters(extradataOf(1080, 1920, H264EncoderUse::stretches), nullptr);
    ASSERT_TRUE(portrait.has_value());
    EXPECT_EQ(portrait->widthInMbs, 68);
    EXPECT_EQ(portrait->heightInMbs, 120);
    const std::optional<H264SkipParameters> ultraHd =
            readH264SkipParameters(extradataOf(3840, 2160, H264EncoderUse::stretches), nullptr);
    ASSERT_TRUE(ultraHd.has_value());
    EXPECT_EQ(ultraHd->macroblockCount(), 32400);
}

TEST(H264ParameterSets, TwoStretchEncodersWriteTheSameParameterSets)
{
    EXPECT_EQ(extradataOf(1920, 1080, H264EncoderUse::stretches),
              extradataOf(1920, 1080, H264EncoderUse::stretches));
}

TEST(H264ParameterSets, StretchEncoderCodesInCabac)
{
    QString why;
    const std::optional<H264SkipParameters> p =
            readH264SkipParameters(extradataOf(1920, 1080, H264EncoderUse::stretches), &why);
    ASSERT_TRUE(p.has_value()) << why.toStdString();
    EXPECT_TRUE(p->cabac);
    EXPECT_GE(p->sliceQp(), 0);
    EXPECT_LE(p->sliceQp(), 51);
}

TEST(H264ParameterSets, HandMadeSetsAreReadAndUnhandledOnesRefused)
{
    QString why;
    const std::optional<H264SkipParameters> plain = readH264SkipParameters(handMade({}), &why);
    ASSERT_TRUE(plain.has_value()) << why.toStdString();
    EXPECT_EQ(plain->macroblockCount(), 8160);

    HandMadeSets scaling;
    scaling.scalingMatrix = true;
    scaling.pocType = 0;
    const std::optional<H264SkipParameters> withMatrix = readH264SkipParameters(handMade(scaling), &why);
    ASSERT_TRUE(withMatrix.has_value()) << why.toStdString();
    EXPECT_EQ(withMatrix->picOrderCntType, 0);
    EXPECT_EQ(withMatrix->log2MaxPicOrderCntLsb, 6);
    EXPECT_EQ(withMatrix->macroblockCount(), 8160);

    HandMadeSets interlaced;
    interlaced.frameMbsOnly = false;
    EXPECT_FALSE(readH264SkipParameters(handMade(interlaced), &why));
    EXPECT_EQ(why, QStringLiteral("interlaced coding"));

    HandMadeSets cabac;
    cabac.cabac = true;
    cabac.picInitQpMinus26 = -7;
    const std::optional<H264SkipParameters> withCabac = readH264SkipParameters(handMade(cabac), &why);
    ASSERT_TRUE(withCabac.has_value()) << why.toStdString();
    EXPECT_TRUE(withCabac->cabac);
    EXPECT_EQ(withCabac->picInitQpMinus26, -7);
    EXPECT_EQ(withCabac->sliceQp(), 19);
    EXPECT_FALSE(plain->cabac);
    EXPECT_EQ(plain->sliceQp(), 26);

    HandMadeSets groups;
    groups.sliceGroupsMinus1 = 1;
    EXPECT_FALSE(readH264SkipParameters(handMade(groups), &why));
    EXPECT_EQ(why, QStringLiteral("slice groups"));

    HandMadeSets pocOne;
    pocOne.pocType = 1;
    EXPECT_FALSE(readH264SkipParameters(handMade(pocOne), &why));
    EXPECT_EQ(why, QStringLiteral("pic_order_cnt_type 1"));
}

TEST(H264ParameterSets, MissingOrCutParameterSetsAreRefused)
{
    const std::vector<uint8_t> whole = handMade({});
    EXPECT_FALSE(readH264SkipParameters({}, nullptr));
    // Only the SPS: its start code is at 0, the PPS's is the second one.
    const auto units = splitAnnexB(whole);
    ASSERT_EQ(units.size(), 2U);
    std::vector<uint8_t> spsOnly{0, 0, 0, 1};
    spsOnly.insert(spsOnly.end(), units[0].begin(), units[0].end());
    EXPECT_FALSE(readH264SkipParameters(spsOnly, nullptr));
    // An SPS cut short before its size fields.
    std::vector<uint8_t> cut{0, 0, 0, 1};
    cut.insert(cut.end(), units[0].begin(), units[0].begin() + 5);
    cut.insert(cut.end(), {0, 0, 0, 1});
    cut.insert(cut.end(), units[1].begin(), units[1].end());
    QString why;
    EXPECT_FALSE(readH264SkipParameters(cut, &why));
    EXPECT_EQ(why, QStringLiteral("damaged SPS"));
}

TEST(H264ParameterSets, AnnexBSplitHandlesThreeAndFourByteStartCodes)
{
    const std::vector<uint8_t> stream{0, 0, 0, 1, 0x67, 0xAA, 0, 0, 1, 0x68, 0xBB, 0xCC};
    const auto units = splitAnnexB(stream);
    ASSERT_EQ(units.size(), 2U);
    EXPECT_EQ(std::vector<uint8_t>(units[0].begin(), units[0].end()), (std::vector<uint8_t>{0x67, 0xAA}));
    EXPECT_EQ(std::vector<uint8_t>(units[1].begin(), units[1].end()),
              (std::vector<uint8_t>{0x68, 0xBB, 0xCC}));
}
