#include "project/DemoProject.h"

#include "audio/FloatWavWriter.h"
#include "model/VideoFormat.h"
#include "project/ProjectFormat.h"
#include "render/Placement.h"
#include "support/CheckedConversions.h"

#include <QDir>
#include <QFile>
#include <QPageSize>
#include <QPainter>
#include <QPainterPath>
#include <QPdfWriter>
#include <QSaveFile>

#include <array>
#include <cmath>
#include <numbers>

namespace {

// The tune, as diatonic steps above the bottom line of a treble staff (0 = E4, 2 = G4,
// -2 = middle C), sixteen quarter notes a page.
constexpr std::array<std::array<int, kDemoNotesPerPage>, kDemoPageCount> kMelody{{
        {-2, 0, 2, 0, 1, 3, 2, 0, -1, 1, 0, -2, -1, 0, -1, 2},
        {0, 2, 5, 4, 3, 5, 4, 2, 3, 1, 2, 0, 1, -1, -2, -2},
        {2, 4, 6, 5, 4, 3, 2, 4, 5, 7, 6, 4, 5, 4, 3, 2},
        {0, 2, 4, 5, 7, 5, 4, 2, 3, 1, 0, -1, -2, 0, -1, -2},
}};

constexpr double kStartSilence = 3.0; // the project's default silences
constexpr double kEndSilence = 5.0;
constexpr int kFps = 30;

// Page layout in points (A4 portrait).
constexpr double kPageWidth = 595.0;
constexpr double kMargin = 56.0;
constexpr double kLineSpacing = 8.0;
constexpr int kStavesPerPage = 4;
constexpr int kNotesPerStave = kDemoNotesPerPage / kStavesPerPage;

double frequencyOfStep(int step)
{
    constexpr std::array<int, 7> kScale{0, 2, 4, 5, 7, 9, 11}; // C major from C
    const int degree = step + 2;                               // 0 = middle C
    const int octave = degree >= 0 ? degree / 7 : (degree - 6) / 7;
    const int midi = 60 + 12 * octave + kScale[size_t(degree - octave * 7)];
    return 440.0 * std::pow(2.0, (midi - 69) / 12.0);
}

// A treble clef drawn with curves: the spiral around the G line, the tall stroke with its
// upper loop, and the tail below the staff. `bottom` is the y of the bottom staff line.
QPainterPath trebleClef(double x, double bottom)
{
    const double s = kLineSpacing;
    const double gLine = bottom - s;
    QPainterPath path;
    path.moveTo(x + 6, gLine + 0.5 * s);
    path.cubicTo(x + 2, gLine + 0.2 * s, x + 3, gLine - 1.2 * s, x + 8, gLine - 1.1 * s);
    path.cubicTo(x + 15, gLine - 1.0 * s, x + 16, gLine + 1.4 * s, x + 8, gLine + 1.5 * s);
    path.cubicTo(x - 2, gLine + 1.6 * s, x - 3, gLine - 1.2 * s, x + 4, gLine - 2.2 * s);
    path.cubicTo(x + 10, gLine - 3.0 * s, x + 14, gLine - 4.2 * s, x + 12, gLine - 5.2 * s);
    path.cubicTo(x + 10, gLine - 6.2 * s, x + 6, gLine - 5.2 * s, x + 7, gLine - 3.8 * s);
    path.lineTo(x + 10, gLine + 2.8 * s);
    path.cubicTo(x + 10.5, gLine + 3.6 * s, x + 7, gLine + 3.9 * s, x + 5, gLine + 3.4 * s);
    return path;
}

void drawStaff(QPainter& painter, double top, const std::array<int, kDemoNotesPerPage>& notes, int firstNote)
{
    const double left = kMargin;
    const double right = kPageWidth - kMargin;
    const double bottom = top + 4 * kLineSpacing;

    painter.setPen(QPen(Qt::black, 0.8));
    for (int line = 0; line < 5; ++line)
        painter.drawLine(QPointF(left, top + line * kLineSpacing), QPointF(right, top + line * kLineSpacing));
    painter.setPen(QPen(Qt::black, 1.0));
    painter.drawLine(QPointF(left, top), QPointF(left, bottom));
    painter.drawLine(QPointF(right, top), QPointF(right, bottom));

    painter.setPen(QPen(Qt::black, 1.6, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.setBrush(Qt::NoBrush);
    painter.drawPath(trebleClef(left + 8, bottom));

    QFont timeFont(QStringLiteral("DejaVu Serif"));
    timeFont.setPixelSize(int(2.4 * kLineSpacing));
    timeFont.setBold(true);
    painter.setFont(timeFont);
    painter.setPen(Qt::black);
    painter.drawText(QRectF(left + 30, top - 2, 16, 2 * kLineSpacing + 2), Qt::AlignCenter,
                     QStringLiteral("4"));
    painter.drawText(QRectF(left + 30, top + 2 * kLineSpacing - 2, 16, 2 * kLineSpacing + 2), Qt::AlignCenter,
                     QStringLiteral("4"));

    const double firstX = left + 80;
    const double spacing = (right - firstX - 20) / kNotesPerStave;
    for (int i = 0; i < kNotesPerStave; ++i) {
        const int step = notes[size_t(firstNote + i)];
        const double x = firstX + i * spacing;
        const double y = bottom - step * kLineSpacing / 2.0;
        // Ledger lines for notes below or above the staff.
        painter.setPen(QPen(Qt::black, 0.8));
        for (int ledger = -2; ledger >= step; ledger -= 2)
            painter.drawLine(QPointF(x - 9, bottom - ledger * kLineSpacing / 2.0),
                             QPointF(x + 9, bottom - ledger * kLineSpacing / 2.0));
        for (int ledger = 10; ledger <= step; ledger += 2)
            painter.drawLine(QPointF(x - 9, bottom - ledger * kLineSpacing / 2.0),
                             QPointF(x + 9, bottom - ledger * kLineSpacing / 2.0));
        painter.save();
        painter.translate(x, y);
        painter.rotate(-20);
        painter.setPen(Qt::NoPen);
        painter.setBrush(Qt::black);
        painter.drawEllipse(QPointF(0, 0), 5.2, 3.8);
        painter.restore();
        painter.setPen(QPen(Qt::black, 1.1));
        if (step < 4)
            painter.drawLine(QPointF(x + 4.6, y - 1), QPointF(x + 4.6, y - 3.5 * kLineSpacing));
        else
            painter.drawLine(QPointF(x - 4.6, y + 1), QPointF(x - 4.6, y + 3.5 * kLineSpacing));
    }
}

bool writeScore(const QString& path, QString* error)
{
    QPdfWriter writer(path);
    writer.setPageSize(QPageSize(QPageSize::A4));
    writer.setResolution(72); // one unit = one point
    writer.setPageMargins(QMarginsF(0, 0, 0, 0));
    writer.setTitle(QStringLiteral("Vornik bemutató"));
    writer.setCreator(QStringLiteral("Vornik"));
    QPainter painter;
    if (!painter.begin(&writer)) {
        if (error)
            *error = QStringLiteral("nem sikerült megnyitni írásra: %1").arg(path);
        return false;
    }
    painter.setRenderHint(QPainter::Antialiasing);
    for (int page = 0; page < kDemoPageCount; ++page) {
        if (page > 0)
            writer.newPage();
        QFont titleFont(QStringLiteral("DejaVu Serif"));
        double staffTop = 150;
        if (page == 0) {
            titleFont.setPixelSize(26);
            painter.setFont(titleFont);
            painter.setPen(Qt::black);
            painter.drawText(QRectF(0, 60, kPageWidth, 34), Qt::AlignCenter, QStringLiteral("Kis dallam"));
            titleFont.setPixelSize(12);
            painter.setFont(titleFont);
            painter.drawText(QRectF(0, 96, kPageWidth, 18), Qt::AlignCenter,
                             QStringLiteral("Vornik bemutató"));
            staffTop = 170;
        }
        for (int stave = 0; stave < kStavesPerPage; ++stave)
            drawStaff(painter, staffTop + stave * 150, kMelody[size_t(page)], stave * kNotesPerStave);
        titleFont.setPixelSize(11);
        painter.setFont(titleFont);
        painter.setPen(Qt::black);
        painter.drawText(QRectF(0, 800, kPageWidth, 16), Qt::AlignCenter, QString::number(page + 1));
    }
    painter.end();
    return true;
}

// Each note: a soft attack, an exponential decay and a short release, with two overtones so
// that it sounds like a plucked string rather than a test tone.
AudioBuffer synthesiseMelody()
{
    const int noteFrames = int(kDemoSecondsPerNote * kDemoSampleRate);
    AudioBuffer audio;
    audio.sampleRate = kDemoSampleRate;
    audio.channels.assign(2, std::vector<float>(size_t(noteFrames * kDemoNotesPerPage * kDemoPageCount)));
    size_t position = 0;
    for (const auto& page : kMelody) {
        for (int step : page) {
            const double frequency = frequencyOfStep(step);
            for (int i = 0; i < noteFrames; ++i) {
                const double t = double(i) / kDemoSampleRate;
                const double attack = std::min(1.0, t / 0.01);
                const double release = std::min(1.0, (kDemoSecondsPerNote - t) / 0.03);
                const double envelope = attack * release * std::exp(-3.0 * t);
                const double phase = 2.0 * std::numbers::pi * frequency * t;
                const double sample =
                        0.3 * envelope *
                        (std::sin(phase) + 0.3 * std::sin(2 * phase) + 0.15 * std::sin(3 * phase));
                audio.channels[0][position] = float(sample);
                audio.channels[1][position] = float(0.9 * sample);
                ++position;
            }
        }
    }
    return audio;
}

// Page p shows during its own music, the first page also during the start silence (the
// cover) and the last page also during the end silence (the caption).
ProjectJSON demoProjectFile(const QString& scorePath, const QString& recordingPath)
{
    ProjectJSON project;
    project.originalAudioPath = recordingPath;
    const double duration = kStartSilence + kDemoPageCount * kDemoSecondsPerPage + kEndSilence;
    project.duration = duration;
    project.currentTime = 0.0;
    project.startSilence = kStartSilence;
    project.endSilence = kEndSilence;
    project.transitionDuration = 0.5;
    project.volumeBoost = 100.0;
    project.videoFormat = rawValue(VideoFormat::landscape);
    project.fillColorR = 1.0;
    project.fillColorG = 1.0;
    project.fillColorB = 1.0;
    const QSizeF a4(kPageWidth, 842.0);
    const Placement placement = computePlacement(a4, videoFormatSize(VideoFormat::landscape));
    const int64_t frameCount = ceilToInt64Checked(duration * kFps);
    for (int page = 0; page < kDemoPageCount; ++page)
        project.imagePaths.push_back(ImagePathInfo{scorePath, page + 1, std::nullopt});
    for (int64_t frame = 0; frame < frameCount; ++frame) {
        const double musicTime = double(frame) / kFps - kStartSilence;
        const int page = std::clamp(int(std::floor(musicTime / kDemoSecondsPerPage)), 0, kDemoPageCount - 1);
        project.frames.push_back(
                FrameJSON{page, placement.x, placement.y, placement.width, placement.height});
    }
    return project;
}

} // namespace

std::optional<DemoProject> writeDemoProject(const QString& directory, QString* error)
{
    if (!QDir().mkpath(directory)) {
        if (error)
            *error = QStringLiteral("nem sikerült létrehozni a mappát: %1").arg(directory);
        return std::nullopt;
    }
    const QDir dir(directory);
    DemoProject demo{dir.absoluteFilePath(QStringLiteral("demo.vnk")),
                     dir.absoluteFilePath(QStringLiteral("demo_kotta.pdf")),
                     dir.absoluteFilePath(QStringLiteral("demo_felvetel.wav"))};
    if (!writeScore(demo.scorePath, error))
        return std::nullopt;
    if (!writeFloatWav(demo.recordingPath, synthesiseMelody(), error))
        return std::nullopt;
    QSaveFile file(demo.projectPath);
    if (!file.open(QIODevice::WriteOnly) ||
        file.write(encodeProject(demoProjectFile(demo.scorePath, demo.recordingPath))) < 0 ||
        !file.commit()) {
        if (error)
            *error = file.errorString();
        return std::nullopt;
    }
    return demo;
}
