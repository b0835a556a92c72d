#include "export/VideoWriter.h"

#include "export/SkipSlice.h"
#include "media/FfmpegError.h"
#include "media/FfmpegHandles.h"
#include "media/H264EncoderSetup.h"
#include "media/H264FileOutput.h"

struct VideoWriter::Encoder {
    Encoder(const QString& path, int fps)
        : output(path, fps)
    {}

    H264FileOutput output;
    // The encoder at work: the only one when every frame is encoded, else the current
    // stretch's (null between stretches).
    CodecContextPtr codec;
    // With skip pictures: the encoder opened by prepare(), kept for the first stretch.
    CodecContextPtr spare;
    std::vector<uint8_t> parameterSets; // the stream's SPS/PPS, as written in its header
};

VideoWriter::VideoWriter(QString path, int width, int height, int fps, VideoEncoding encoding)
    : m_path(std::move(path))
    , m_width(width)
    , m_height(height)
    , m_fps(fps)
    , m_encoding(encoding)
{}

VideoWriter::~VideoWriter() = default;

bool VideoWriter::fail(const QString& what, int code)
{
    m_status = VideoWriterStatus::failed;
    if (m_error.isEmpty())
        m_error = code < 0 ? QStringLiteral("%1: %2").arg(what, ffmpegErrorText(code)) : what;
    return false;
}

bool VideoWriter::prepare(QString* error)
{
    auto encoder = std::make_unique<Encoder>(m_path, m_fps);
    auto refuse = [error](const QString& text) {
        if (error)
            *error = text;
        return false;
    };
    if (m_width <= 0 || m_height <= 0 || (m_width % 2) != 0 || (m_height % 2) != 0 || m_fps <= 0)
        return refuse(QStringLiteral("Érvénytelen videóméret vagy képkockasebesség: %1x%2, %3 fps")
                              .arg(m_width)
                              .arg(m_height)
                              .arg(m_fps));

    // The container is QuickTime whatever the file's extension says.
    int result = encoder->output.createContainer();
    if (result < 0)
        return refuse(
                QStringLiteral("A QuickTime konténer nem hozható létre: %1").arg(ffmpegErrorText(result)));
    if ((result = encoder->output.allocateScratch()) < 0)
        return refuse(ffmpegErrorText(result));

    QString openError;
    if (m_encoding == VideoEncoding::changesOnly) {
        // Two stretch encoders in turn (never both at once: each holds a lot of memory).
        // Parameter sets the skip pictures cannot follow, or an encoder that does not write
        // the same ones each time it starts: every frame is encoded instead.
        CodecContextPtr first =
                openH264Encoder(m_width, m_height, m_fps, H264EncoderUse::stretches, &openError);
        if (!first)
            return refuse(openError);
        encoder->parameterSets = encoderParameterSets(*first);
        first.reset();
        m_skip = readH264SkipParameters(encoder->parameterSets, nullptr);
        if (m_skip) {
            encoder->spare = openH264Encoder(m_width, m_height, m_fps, H264EncoderUse::stretches, &openError);
            if (!encoder->spare)
                return refuse(openError);
            if (encoderParameterSets(*encoder->spare) != encoder->parameterSets) {
                m_skip.reset();
                encoder->spare.reset();
            }
        }
    }
    if (!m_skip) {
        encoder->codec = openH264Encoder(m_width, m_height, m_fps, H264EncoderUse::everyFrame, &openError);
        if (!encoder->codec)
            return refuse(openError);
    } else {
        m_planner.emplace(2 * static_cast<int64_t>(m_fps));
    }
    const AVCodecContext* context = m_skip ? encoder->spare.get() : encoder->codec.get();
    if ((result = encoder->output.addStream(*context)) < 0)
        return refuse(ffmpegErrorText(result));

    m_encoder = std::move(encoder);
    return true;
}

bool VideoWriter::startWriting()
{
    if (!m_encoder || m_status != VideoWriterStatus::unknown)
        return fail(QStringLiteral("A videóíró nincs előkészítve"), 0);
    int result = m_encoder->output.open();
    if (result < 0)
        return fail(QStringLiteral("A videófájl nem hozható létre (%1)").arg(m_path), result);
    // The index goes to the front of the file so that the video starts playing at once.
    if ((result = m_encoder->output.writeHeader()) < 0)
        return fail(QStringLiteral("A videófájl fejléce nem írható"), result);
    m_status = VideoWriterStatus::writing;
    return true;
}

bool VideoWriter::exchange(const AVFrame* frame, int64_t frameIndex, bool idr,
                           std::vector<uint8_t>* lastPacket, const QString& what)
{
    const EncodeOutcome outcome =
            m_encoder->output.encode(m_encoder->codec.get(), frame, frameIndex, idr, lastPacket);
    m_packetsWritten += outcome.packetsWritten;
    switch (outcome.failure) {
    case EncodeFailure::none:
        return true;
    case EncodeFailure::reference:
        return fail(QStringLiteral("A képkocka nem adható át"), outcome.code);
    case EncodeFailure::send:
        return fail(what, outcome.code);
    case EncodeFailure::receive:
        return fail(QStringLiteral("A H.264 kódolás sikertelen"), outcome.code);
    case EncodeFailure::write:
        return fail(QStringLiteral("A videófájl írása sikertelen"), outcome.code);
    }
    return false;
}

bool VideoWriter::sendToEncoder(const VideoPicture& picture, int64_t frameIndex, bool idr)
{
    return exchange(picture.get(), frameIndex, idr, nullptr, QStringLiteral("A H.264 kódolás sikertelen"));
}

bool VideoWriter::openStretchEncoder()
{
    if (m_encoder->spare) {
        m_encoder->codec = std::move(m_encoder->spare);
        return true;
    }
    QString error;
    CodecContextPtr codec = openH264Encoder(m_width, m_height, m_fps, H264EncoderUse::stretches, &error);
    if (!codec)
        return fail(error, 0);
    // Every stretch's pictures refer to the parameter sets in the file's header.
    if (encoderParameterSets(*codec) != m_encoder->parameterSets)
        return fail(QStringLiteral("A H.264 kódoló paraméterkészletei eltérnek"), 0);
    m_encoder->codec = std::move(codec);
    return true;
}

bool VideoWriter::endStretchEncoder(std::vector<uint8_t>* lastPacket)
{
    const bool drained =
            exchange(nullptr, 0, false, lastPacket, QStringLiteral("A H.264 kódolás lezárása sikertelen"));
    m_encoder->codec.reset();
    return drained;
}

bool VideoWriter::writeOwnPacket(const std::vector<uint8_t>& bytes, int64_t frameIndex, bool key)
{
    if (const int result = m_encoder->output.writePacket(bytes, frameIndex, key); result < 0)
        return fail(QStringLiteral("A videófájl írása sikertelen"), result);
    ++m_packetsWritten;
    return true;
}

bool VideoWriter::runStep(const StretchStep& step)
{
    switch (step.action) {
    case StretchAction::encodeChanging:
        if (!m_encoder->codec && !openStretchEncoder())
            return false;
        return sendToEncoder(m_heldPicture, step.frameIndex, false);
    case StretchAction::encodeStillIdr:
        if (!m_encoder->codec && !openStretchEncoder())
            return false;
        if (!sendToEncoder(m_heldPicture, step.frameIndex, true) || !endStretchEncoder(&m_stillIdr))
            return false;
        if (m_stillIdr.empty())
            return fail(QStringLiteral("A H.264 kódoló nem adott IDR képkockát"), 0);
        m_picturesSinceIdr = 0;
        return true;
    case StretchAction::writeSkip:
        return writeOwnPacket(buildSkipSlice(*m_skip, ++m_picturesSinceIdr), step.frameIndex, false);
    case StretchAction::repeatIdr:
        m_picturesSinceIdr = 0;
        return writeOwnPacket(m_stillIdr, step.frameIndex, true);
    }
    return false;
}

bool VideoWriter::append(const VideoPicture& picture, int64_t frameIndex)
{
    if (m_status != VideoWriterStatus::writing || !picture)
        return false;
    if (!m_planner)
        return sendToEncoder(picture, frameIndex, false);
    // The export sends an unchanged frame as the very same picture; a frame that is missing
    // in between ends the still stretch.
    const bool same = picture == m_previousPicture && frameIndex == m_previousIndex + 1;
    m_previousPicture = picture;
    m_previousIndex = frameIndex;
    const std::optional<StretchStep> step = m_planner->add(frameIndex, same);
    if (step && !runStep(*step))
        return false;
    m_heldPicture = picture;
    return true;
}

void VideoWriter::finishWriting()
{
    if (m_status != VideoWriterStatus::writing) {
        if (m_status == VideoWriterStatus::unknown)
            fail(QStringLiteral("A videóíró nem indult el"), 0);
        m_encoder.reset();
        return;
    }
    int result = 0;
    if (m_planner) {
        if (const std::optional<StretchStep> step = m_planner->finish())
            runStep(*step);
        if (m_status == VideoWriterStatus::writing && m_encoder->codec)
            endStretchEncoder(nullptr);
        m_heldPicture.reset();
        m_previousPicture.reset();
    } else {
        exchange(nullptr, 0, false, nullptr, QStringLiteral("A H.264 kódolás lezárása sikertelen"));
    }
    H264FileOutput& output = m_encoder->output;
    if (m_status == VideoWriterStatus::writing) {
        if ((result = output.writeTrailer()) < 0)
            fail(QStringLiteral("A videófájl lezárása sikertelen"), result);
    }
    if (output.isOpen()) {
        result = output.close();
        if (result < 0)
            fail(QStringLiteral("A videófájl lezárása sikertelen"), result);
    }
    if (m_status == VideoWriterStatus::writing)
        m_status = VideoWriterStatus::completed;
    m_encoder.reset();
}
