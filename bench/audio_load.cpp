// Audio loading benchmark: a generated 10-minute stereo 44.1 kHz MP3 is loaded through the
// editor's loadAudio (decode, loudness, silences and boost, temporary WAV, player, waveform,
// frame slices) and timed against decoding the same file to float with FFmpeg's libraries
// alone, in the same process. Peak memory is the process's maximum resident set.
//
// Each measurement runs in a fresh child process (this program with --once) so that every
// peak-memory figure starts clean; the parent prints the medians.
//
//   bench_audio_load [runs=5] [--keep FILE.mp3]
#include "audio/DefaultAudioPlayerFactory.h"
#include "editor/VideoEditorViewModel.h"
#include "media/CodecExchange.h"
#include "media/FfmpegHandles.h"
#include "media/MediaInput.h"
#include "model/Frames.h"
#include "tests/support/AudioFixtures.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libswresample/swresample.h>
}

#include <sys/resource.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <numbers>
#include <vector>

namespace {

constexpr int kSampleRate = 44100;
constexpr int kChannels = 2;
constexpr double kSeconds = 600.0;

double peakRssMiB()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return double(usage.ru_maxrss) / 1024.0; // ru_maxrss is in KiB on Linux
}

double currentRssMiB()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return 0.0;
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith("VmRSS:"))
            return line.mid(6).trimmed().split(' ').front().toDouble() / 1024.0;
    }
    return 0.0;
}

// Something music-like for the encoder: a few partials with a slow swell and a little noise.
void generate(int64_t start, int64_t count, std::vector<std::vector<float>>& planar)
{
    uint32_t noise = uint32_t(start) * 2654435761u + 1u;
    for (int64_t i = 0; i < count; ++i) {
        const double t = double(start + i) / kSampleRate;
        const double swell = 0.5 + 0.4 * std::sin(2.0 * std::numbers::pi * 0.1 * t);
        noise = noise * 1664525u + 1013904223u;
        const double hiss = (double(noise >> 8) / double(1u << 24) - 0.5) * 0.02;
        const double base = 0.3 * std::sin(2.0 * std::numbers::pi * 220.0 * t) +
                            0.15 * std::sin(2.0 * std::numbers::pi * 330.0 * t) +
                            0.08 * std::sin(2.0 * std::numbers::pi * 660.0 * t);
        planar[0][size_t(i)] = float(swell * base + hiss);
        planar[1][size_t(i)] = float(swell * 0.9 * base - hiss);
    }
}

// FFmpeg alone: demux, decode and convert to planar float, nothing else. The samples are
// converted into one reused block (the decode cost, without storing the recording).
double bareDecodeSeconds(const QString& path, int64_t* frames)
{
    QElapsedTimer timer;
    timer.start();
    MediaInput input;
    if (openMediaInput(input, path, AVMEDIA_TYPE_AUDIO, StreamDecoder::needed) < 0)
        return -1;
    CodecContextPtr codec(avcodec_alloc_context3(input.decoder));
    if (!codec || avcodec_parameters_to_context(codec.get(), input.stream()->codecpar) < 0 ||
        avcodec_open2(codec.get(), input.decoder, nullptr) < 0)
        return -1;
    ResamplerPtr swr;
    PacketPtr packet(av_packet_alloc());
    FramePtr frame(av_frame_alloc());
    if (!packet || !frame)
        return -1;
    std::vector<std::vector<float>> block(size_t(codec->ch_layout.nb_channels));
    std::vector<uint8_t*> outputs;
    *frames = 0;
    const FrameSink convert = [&](AVFrame* decoded) {
        if (!swr) {
            SwrContext* raw = nullptr;
            if (swr_alloc_set_opts2(&raw, &decoded->ch_layout, AV_SAMPLE_FMT_FLTP, decoded->sample_rate,
                                    &decoded->ch_layout, AVSampleFormat(decoded->format),
                                    decoded->sample_rate, 0, nullptr) < 0)
                return AVERROR(EINVAL);
            swr.reset(raw);
            if (const int result = swr_init(swr.get()); result < 0)
                return result;
        }
        outputs.clear();
        for (auto& channel : block) {
            channel.resize(size_t(decoded->nb_samples));
            outputs.push_back(reinterpret_cast<uint8_t*>(channel.data()));
        }
        const int converted =
                swr_convert(swr.get(), outputs.data(), decoded->nb_samples,
                            const_cast<const uint8_t**>(decoded->extended_data), decoded->nb_samples);
        if (converted < 0)
            return converted;
        *frames += converted;
        return 0;
    };
    while (av_read_frame(input.format.get(), packet.get()) >= 0) {
        if (packet->stream_index == input.streamIndex)
            sendPacket(codec.get(), packet.get(), frame.get(), convert);
        av_packet_unref(packet.get());
        receiveFrames(codec.get(), frame.get(), convert);
    }
    sendPacket(codec.get(), nullptr, frame.get(), convert);
    receiveFrames(codec.get(), frame.get(), convert);
    return double(timer.nsecsElapsed()) / 1e9;
}

// One measurement: bare decode, then loadAudio to completion and on until the loudness meter
// is done. Prints one line of figures.
int runOnce(const QString& mp3)
{
    int64_t decodedFrames = 0;
    const double bare = bareDecodeSeconds(mp3, &decodedFrames);
    if (bare < 0) {
        std::fprintf(stderr, "cannot decode %s\n", qPrintable(mp3));
        return 1;
    }
    QTemporaryDir temporary;
    const double baselineMiB = currentRssMiB();
    double loadSeconds = 0.0;
    double meterSeconds = 0.0;
    double durationSeconds = 0.0;
    int64_t frameCount = 0;
    {
        EditorEnvironment environment;
        environment.temporaryDirectory = temporary.path();
        environment.audioPlayerFactory = clockAudioPlayerFactory();
        VideoEditorViewModel editor(environment);
        QElapsedTimer timer;
        timer.start();
        // Wait the way the application does: an idle event loop woken by the queued results.
        QEventLoop loop;
        QObject::connect(&editor, &VideoEditorViewModel::isLoadingAudioChanged, &loop, [&] {
            if (!editor.isLoadingAudio())
                loop.quit();
        });
        editor.loadAudio(mp3);
        if (editor.isLoadingAudio())
            loop.exec();
        loadSeconds = double(timer.nsecsElapsed()) / 1e9;
        durationSeconds = editor.duration();
        frameCount = editor.getFrameManager().getFrameCount();
        // The integrated loudness and true peak arrive after the recording is ready.
        QEventLoop meterLoop;
        QObject::connect(&editor, &VideoEditorViewModel::isMeasuringLoudnessChanged, &meterLoop, [&] {
            if (!editor.isMeasuringLoudness())
                meterLoop.quit();
        });
        if (editor.isMeasuringLoudness())
            meterLoop.exec();
        meterSeconds = double(timer.nsecsElapsed()) / 1e9;
    }
    std::printf("%.4f %.4f %.1f %.1f %.3f %lld %lld %.4f\n", bare, loadSeconds, peakRssMiB(), baselineMiB,
                durationSeconds, (long long)frameCount, (long long)decodedFrames, meterSeconds);
    return 0;
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    const size_t n = values.size();
    return n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2.0;
}

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    if (args.size() >= 3 && args[1] == QStringLiteral("--once"))
        return runOnce(args[2]);

    int runs = 5;
    QString keep;
    for (int i = 1; i < args.size(); ++i) {
        if (args[i] == QStringLiteral("--keep") && i + 1 < args.size())
            keep = args[++i];
        else
            runs = std::max(1, args[i].toInt());
    }

    QTemporaryDir dir;
    const QString mp3 = keep.isEmpty() ? dir.filePath(QStringLiteral("ten_minutes.mp3")) : keep;
    if (!QFile::exists(mp3)) {
        const QString encoder = fixtures::mp3EncoderName();
        if (encoder.isEmpty()) {
            std::fprintf(stderr, "this FFmpeg has no MP3 encoder\n");
            return 1;
        }
        std::printf("encoding %.0f s of stereo %d Hz with %s...\n", kSeconds, kSampleRate,
                    qPrintable(encoder));
        std::fflush(stdout);
        QString error;
        if (!fixtures::encodeGenerated(mp3, encoder, kSampleRate, kChannels, int64_t(kSeconds * kSampleRate),
                                       generate, 192000, &error)) {
            std::fprintf(stderr, "encoding failed: %s\n", qPrintable(error));
            return 1;
        }
    }
    std::printf("file: %s (%.1f MiB)\n", qPrintable(mp3), double(QFile(mp3).size()) / (1024.0 * 1024.0));

    std::vector<double> bare, load, peak, baseline, meter;
    double duration = 0.0;
    long long frames = 0;
    for (int run = 0; run < runs; ++run) {
        QProcess child;
        child.start(QCoreApplication::applicationFilePath(), {QStringLiteral("--once"), mp3});
        if (!child.waitForFinished(600000) || child.exitCode() != 0) {
            std::fprintf(stderr, "run %d failed: %s\n", run, child.readAllStandardError().constData());
            return 1;
        }
        const QList<QByteArray> fields =
                child.readAllStandardOutput().trimmed().split('\n').last().split(' ');
        if (fields.size() < 8)
            return 1;
        bare.push_back(fields[0].toDouble());
        load.push_back(fields[1].toDouble());
        peak.push_back(fields[2].toDouble());
        baseline.push_back(fields[3].toDouble());
        duration = fields[4].toDouble();
        frames = fields[5].toLongLong();
        meter.push_back(fields[7].toDouble());
        std::printf("run %d: bare decode %.3f s, loadAudio %.3f s (x%.2f), LUFS and true peak in at %.3f s, "
                    "peak RSS %.1f MiB (before load %.1f)\n",
                    run + 1, bare.back(), load.back(), load.back() / bare.back(), meter.back(), peak.back(),
                    baseline.back());
        std::fflush(stdout);
    }

    // The memory budget: twice the processed float samples (silences included) plus the
    // frame store's slices (1470 16-bit values per frame).
    const double processedMiB = duration * kSampleRate * kChannels * 4.0 / (1024.0 * 1024.0);
    const double frameStoreMiB = double(frames) * 1470.0 * 2.0 / (1024.0 * 1024.0);
    const double ratio = median(load) / median(bare);
    std::printf("\nmedians over %d runs\n", runs);
    std::printf("  bare FFmpeg decode to float: %.3f s\n", median(bare));
    std::printf("  loadAudio to completion:     %.3f s  = %.2f x bare decode (target <= 1.5)\n", median(load),
                ratio);
    std::printf("  LUFS and true peak in at:    %.3f s after loadAudio\n", median(meter));
    std::printf("  peak RSS:                    %.1f MiB (%.1f MiB before loading)\n", median(peak),
                median(baseline));
    std::printf("  processed PCM %.1f MiB, frame store %.1f MiB (%lld frames): budget 2 x PCM + store = %.1f "
                "MiB\n",
                processedMiB, frameStoreMiB, frames, 2.0 * processedMiB + frameStoreMiB);
    std::printf("  peak RSS above the pre-load level: %.1f MiB\n", median(peak) - median(baseline));
    return 0;
}
