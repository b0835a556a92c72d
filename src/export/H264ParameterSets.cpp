#include "export/H264ParameterSets.h"

#include "export/BitReader.h"
#include "export/BitWriter.h"

namespace {

constexpr int kNalSps = 7;
constexpr int kNalPps = 8;

bool refuse(QString* why, const QString& text)
{
    if (why)
        *why = text;
    return false;
}

// scaling_list(): only skipped over, the skip slices carry no coefficients.
void skipScalingList(BitReader& reader, int size)
{
    int lastScale = 8;
    int nextScale = 8;
    for (int j = 0; j < size && reader.ok(); ++j) {
        if (nextScale != 0) {
            nextScale = (lastScale + reader.readSe() + 256) % 256;
        }
        lastScale = nextScale == 0 ? lastScale : nextScale;
    }
}

bool hasChromaFormatFields(uint32_t profileIdc)
{
    switch (profileIdc) {
    case 100:
    case 110:
    case 122:
    case 244:
    case 44:
    case 83:
    case 86:
    case 118:
    case 128:
    case 138:
    case 139:
    case 134:
    case 135:
        return true;
    default:
        return false;
    }
}

bool readSps(std::span<const uint8_t> rbsp, H264SkipParameters& out, QString* why)
{
    BitReader reader(rbsp);
    const uint32_t profileIdc = reader.readBits(8);
    reader.readBits(8); // constraint flags and reserved bits
    reader.readBits(8); // level_idc
    out.spsId = static_cast<int>(reader.readUe());
    out.chromaArrayType = 1;
    if (hasChromaFormatFields(profileIdc)) {
        const uint32_t chromaFormatIdc = reader.readUe();
        if (chromaFormatIdc == 3 && reader.readBit())
            return refuse(why, QStringLiteral("separate colour planes"));
        out.chromaArrayType = static_cast<int>(chromaFormatIdc);
        reader.readUe();  // bit_depth_luma_minus8
        reader.readUe();  // bit_depth_chroma_minus8
        reader.readBit(); // qpprime_y_zero_transform_bypass_flag
        if (reader.readBit()) {
            const int lists = chromaFormatIdc == 3 ? 12 : 8;
            for (int i = 0; i < lists && reader.ok(); ++i) {
                if (reader.readBit())
                    skipScalingList(reader, i < 6 ? 16 : 64);
            }
        }
    }
    const uint32_t log2MaxFrameNumMinus4 = reader.readUe();
    if (log2MaxFrameNumMinus4 > 12)
        return refuse(why, QStringLiteral("log2_max_frame_num out of range"));
    out.log2MaxFrameNum = static_cast<int>(log2MaxFrameNumMinus4) + 4;
    const uint32_t pocType = reader.readUe();
    if (pocType == 0) {
        const uint32_t lsbMinus4 = reader.readUe();
        if (lsbMinus4 > 12)
            return refuse(why, QStringLiteral("log2_max_pic_order_cnt_lsb out of range"));
        out.log2MaxPicOrderCntLsb = static_cast<int>(lsbMinus4) + 4;
    } else if (pocType != 2) {
        return refuse(why, QStringLiteral("pic_order_cnt_type %1").arg(pocType));
    }
    out.picOrderCntType = static_cast<int>(pocType);
    out.maxNumRefFrames = static_cast<int>(reader.readUe());
    reader.readBit(); // gaps_in_frame_num_value_allowed_flag
    const uint32_t widthMinus1 = reader.readUe();
    const uint32_t heightMinus1 = reader.readUe();
    const bool frameMbsOnly = reader.readBit();
    if (!reader.ok())
        return refuse(why, QStringLiteral("damaged SPS"));
    if (!frameMbsOnly)
        return refuse(why, QStringLiteral("interlaced coding"));
    if (widthMinus1 >= 1024 || heightMinus1 >= 1024)
        return refuse(why, QStringLiteral("picture size out of range"));
    out.widthInMbs = static_cast<int>(widthMinus1) + 1;
    out.heightInMbs = static_cast<int>(heightMinus1) + 1;
    return true;
}

bool readPps(std::span<const uint8_t> rbsp, H264SkipParameters& out, QString* why)
{
    BitReader reader(rbsp);
    out.ppsId = static_cast<int>(reader.readUe());
    const uint32_t spsId = reader.readUe();
    out.cabac = reader.readBit();
    out.bottomFieldPicOrderInFramePresent = reader.readBit();
    if (reader.readUe() != 0)
        return refuse(why, QStringLiteral("slice groups"));
    out.numRefIdxL0DefaultActive = static_cast<int>(reader.readUe()) + 1;
    reader.readUe(); // num_ref_idx_l1_default_active_minus1
    out.weightedPred = reader.readBit();
    reader.readBits(2); // weighted_bipred_idc
    out.picInitQpMinus26 = reader.readSe();
    reader.readSe(); // pic_init_qs_minus26
    reader.readSe(); // chroma_qp_index_offset
    out.deblockingFilterControlPresent = reader.readBit();
    reader.readBit(); // constrained_intra_pred_flag
    out.redundantPicCntPresent = reader.readBit();
    if (!reader.ok() || out.numRefIdxL0DefaultActive > 32 || out.picInitQpMinus26 < -26 ||
        out.picInitQpMinus26 > 25)
        return refuse(why, QStringLiteral("damaged PPS"));
    if (static_cast<int>(spsId) != out.spsId)
        return refuse(why, QStringLiteral("PPS refers to another SPS"));
    return true;
}

} // namespace

std::vector<std::span<const uint8_t>> splitAnnexB(std::span<const uint8_t> stream)
{
    std::vector<std::span<const uint8_t>> units;
    const size_t n = stream.size();
    size_t start = n; // first byte of the current unit, n while none
    size_t i = 0;
    while (i + 2 < n) {
        if (stream[i] == 0 && stream[i + 1] == 0 && stream[i + 2] == 1) {
            if (start < n) {
                size_t end = i;
                while (end > start && stream[end - 1] == 0) // a four-byte start code's zero
                    --end;
                units.push_back(stream.subspan(start, end - start));
            }
            i += 3;
            start = i;
        } else {
            ++i;
        }
    }
    if (start < n)
        units.push_back(stream.subspan(start));
    return units;
}

std::optional<H264SkipParameters> readH264SkipParameters(std::span<const uint8_t> extradata, QString* why)
{
    std::vector<uint8_t> sps;
    std::vector<uint8_t> pps;
    int spsCount = 0;
    int ppsCount = 0;
    for (const std::span<const uint8_t> unit : splitAnnexB(extradata)) {
        if (unit.empty())
            continue;
        const int type = unit[0] & 0x1f;
        if (type == kNalSps) {
            ++spsCount;
            sps = removeEmulationPrevention(unit.subspan(1));
        } else if (type == kNalPps) {
            ++ppsCount;
            pps = removeEmulationPrevention(unit.subspan(1));
        }
    }
    if (spsCount != 1 || ppsCount != 1) {
        refuse(why, QStringLiteral("%1 SPS and %2 PPS instead of one each").arg(spsCount).arg(ppsCount));
        return std::nullopt;
    }
    H264SkipParameters parameters;
    if (!readSps(sps, parameters, why) || !readPps(pps, parameters, why))
        return std::nullopt;
    return parameters;
}
