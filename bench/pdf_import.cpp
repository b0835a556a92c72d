// Time and peak memory of importing a 40-page score PDF into the page list, page by page and
// two pages side by side.
//
// Usage: bench_pdf_import [runs]   (default 5 runs per mode)
// Every run is a fresh child process (this program with --child), so that the peak resident
// size (getrusage ru_maxrss) of one import is not hidden by an earlier one. The child reports
// its peak just before addPDF (application and empty editor) and after it, with the document
// opened, the question answered and every page rendered into the page list. Figures printed
// are medians over the runs.
#include "editor/VideoEditorViewModel.h"
#include "tests/support/ScriptedDialogs.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QGuiApplication>
#include <QPageLayout>
#include <QPageSize>
#include <QPainter>
#include <QPdfWriter>
#include <QProcess>
#include <QTemporaryDir>

#include <sys/resource.h>

#include <algorithm>
#include <cstdio>
#include <vector>

namespace {

constexpr int kPageCount = 40;

long peakResidentKiB()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

// A4 pages of engraved-looking music: a title, ten five-line staves and note heads.
bool writeScore(const QString& path)
{
    QPdfWriter writer(path);
    writer.setResolution(72);
    writer.setPageLayout(QPageLayout(QPageSize(QPageSize::A4), QPageLayout::Portrait, QMarginsF(0, 0, 0, 0),
                                     QPageLayout::Point));
    QPainter painter;
    if (!painter.begin(&writer))
        return false;
    for (int page = 0; page < kPageCount; ++page) {
        if (page > 0 && !writer.newPage())
            return false;
        painter.setPen(Qt::black);
        painter.setFont(QFont(QStringLiteral("Sans"), 14));
        painter.drawText(QPointF(60, 50), QStringLiteral("Etűd %1").arg(page + 1));
        for (int system = 0; system < 10; ++system) {
            const double top = 90 + system * 72;
            painter.setPen(QPen(Qt::black, 0.6));
            for (int line = 0; line < 5; ++line)
                painter.drawLine(QPointF(50, top + line * 6), QPointF(545, top + line * 6));
            painter.setBrush(Qt::black);
            for (int note = 0; note < 24; ++note) {
                const double x = 80 + note * 19.5;
                const double y = top + ((note * 7 + system * 3 + page) % 9) * 3;
                painter.drawEllipse(QPointF(x, y), 3.4, 2.6);
                painter.drawLine(QPointF(x + 3.2, y), QPointF(x + 3.2, y - 20));
            }
            painter.setBrush(Qt::NoBrush);
        }
    }
    return painter.end();
}

int runChild(const QString& mode, const QString& path)
{
    ScriptedDialogs dialogs;
    dialogs.queueQuestionAnswer(mode == QStringLiteral("paired") ? 1 : 0);
    EditorEnvironment environment;
    environment.dialogs = &dialogs;
    VideoEditorViewModel editor(environment);
    const long before = peakResidentKiB();
    QElapsedTimer timer;
    timer.start();
    editor.addPDF(path);
    const double seconds = static_cast<double>(timer.nsecsElapsed()) / 1e9;
    std::printf("%.6f %ld %ld %zu\n", seconds, before, peakResidentKiB(), editor.images().size());
    return 0;
}

template <typename T>
T median(std::vector<T> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    const QStringList args = QCoreApplication::arguments();
    if (args.size() == 4 && args[1] == QStringLiteral("--child"))
        return runChild(args[2], args[3]);

    const int runs = args.size() > 1 ? std::max(1, args[1].toInt()) : 5;
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("score.pdf"));
    if (!writeScore(path)) {
        std::fprintf(stderr, "could not write the test PDF\n");
        return 1;
    }
    std::printf("%d-page A4 PDF, %lld bytes; %d runs per mode, medians:\n", kPageCount,
                static_cast<long long>(QFileInfo(path).size()), runs);

    for (const QString& mode : {QStringLiteral("single"), QStringLiteral("paired")}) {
        std::vector<double> times;
        std::vector<long> baselines;
        std::vector<long> peaks;
        QString entries;
        for (int run = 0; run < runs; ++run) {
            QProcess child;
            child.start(QCoreApplication::applicationFilePath(), {QStringLiteral("--child"), mode, path});
            if (!child.waitForFinished(600000) || child.exitCode() != 0) {
                std::fprintf(stderr, "child run failed\n");
                return 1;
            }
            const QStringList fields =
                    QString::fromUtf8(child.readAllStandardOutput()).simplified().split(QLatin1Char(' '));
            if (fields.size() != 4)
                return 1;
            times.push_back(fields[0].toDouble());
            baselines.push_back(fields[1].toLong());
            peaks.push_back(fields[2].toLong());
            entries = fields[3];
        }
        std::printf("  %-6s: %s entries, %.3f s (%.1f ms per page), peak RSS %.1f MiB "
                    "(%.1f MiB before the import, +%.1f MiB)\n",
                    qPrintable(mode), qPrintable(entries), median(times), median(times) * 1000.0 / kPageCount,
                    median(peaks) / 1024.0, median(baselines) / 1024.0,
                    (median(peaks) - median(baselines)) / 1024.0);
    }
    return 0;
}
