// Opens libx264 with the export's quality settings: High profile, yuv420p, BT.709 tags,
// preset veryfast, CRF 18, tune stillimage, two threads, a keyframe at least every 2 seconds, and the
// SPS/PPS in the extradata (global header). Any thread; the caller owns the context.
#pragma once

#include "media/FfmpegHandles.h"

#include <QString>

#include <cstdint>
#include <vector>

enum class H264EncoderUse {
    // One encoder for every frame of the video.
    everyFrame,
    // One encoder per stretch, with parameter sets the skip pictures can follow: no
    // B-frames, one reference frame, and forced keyframes as IDR pictures.
    stretches,
};

CodecContextPtr openH264Encoder(int width, int height, int fps, H264EncoderUse use, QString* error);

// The parameter sets (SPS and PPS) an opened encoder put in its extradata, as the file's
// header carries them.
std::vector<uint8_t> encoderParameterSets(const AVCodecContext& encoder);
