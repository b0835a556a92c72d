// A video frame converted for the encoder (yuv420p, BT.709, limited range). Shared and
// immutable once made: an unchanged frame of the video is the same picture sent again.
#pragma once

#include <memory>

struct AVFrame;

using VideoPicture = std::shared_ptr<const AVFrame>;
