// Reads written video files back with FFmpeg's libraries for the export tests: container
// brand, codecs and profiles, sizes, frame counts, durations, the audio track, and the
// decoded pixels of chosen frames.
#pragma once

#include <QImage>
#include <QString>

#include <cstdint>
#include <map>
#include <set>

struct VideoProbe {
    bool opened = false;
    QString formatName; // demuxer names, e.g. "mov,mp4,m4a,3gp,3g2,mj2"
    QString majorBrand; // "qt  " for QuickTime
    int videoStreams = 0;
    int audioStreams = 0;

    QString videoCodec; // "h264"
    int videoProfile = -1;
    int videoLevel = -1; // level_idc: 51 for level 5.1
    int width = 0;
    int height = 0;
    QString pixelFormat;
    int colorPrimaries = 0;
    int colorTransfer = 0;
    int colorSpace = 0;
    int colorRange = 0;
    int64_t videoPackets = 0;
    int64_t keyPackets = 0;
    int64_t longestKeyframeGap = 0; // most packets from one keyframe to the next
    double videoDuration = 0.0;     // seconds, from the stream
    double formatDuration = 0.0;    // seconds, from the container

    QString audioCodec; // "aac"
    int audioProfile = -1;
    int sampleRate = 0;
    int channels = 0;
    int64_t audioBitRate = 0;
    int audioFrameSize = 0;
    double audioDuration = 0.0; // seconds, from the stream
};

VideoProbe probeVideo(const QString& path);

// Decodes the video stream and returns the frames with the given presentation indices
// (0 = first frame) as RGB images, converted with the colour description of the stream.
std::map<int64_t, QImage> decodeVideoFrames(const QString& path, const std::set<int64_t>& indices);

// Counts the frames the video decoder returns.
int64_t countDecodedFrames(const QString& path);
