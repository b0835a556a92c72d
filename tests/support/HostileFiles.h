// Hostile inputs for the file-opening paths, made at test time from valid files that Vornik,
// FFmpeg or Qt wrote: cut short, replaced by noise, emptied, or with headers that claim
// absurd sizes. And the child-process harness that opens one such file through the editor
// the way a user would, and reports how long it took and how much memory it took.
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <optional>

namespace HostileFiles {

// ---- Inputs ----

// The first `fraction` of the bytes (rounded down).
QByteArray truncated(const QByteArray& bytes, double fraction);
// `size` bytes from a fixed-seed generator: the same bytes on every run.
QByteArray randomBytes(qsizetype size, uint32_t seed);

// What every kind of input goes through, for the case tables: the valid file as it is, cut
// at 10, 50 and 90 %, and nothing at all. (Random bytes take a seed of each table's own.)
inline QByteArray unchanged(const QByteArray& valid)
{
    return valid;
}
inline QByteArray tenth(const QByteArray& valid)
{
    return truncated(valid, 0.1);
}
inline QByteArray half(const QByteArray& valid)
{
    return truncated(valid, 0.5);
}
inline QByteArray ninetyPercent(const QByteArray& valid)
{
    return truncated(valid, 0.9);
}
inline QByteArray empty(const QByteArray&)
{
    return {};
}

// A RIFF/WAVE file whose RIFF and "data" chunk sizes are rewritten to `dataBytes` (e.g. 4 GB)
// while the samples stay as they were.
QByteArray wavClaimingDataSize(QByteArray wav, uint32_t dataBytes);
// A RIFF/WAVE file whose "fmt " chunk claims `sampleRate` (and the matching byte rate): the
// same samples then last far longer (1 Hz makes 3 s of 44.1 kHz samples last 36 hours).
QByteArray wavClaimingSampleRate(QByteArray wav, uint32_t sampleRate);
// A PNG whose IHDR declares `width` x `height`, with a correct CRC so readers trust it.
QByteArray pngClaimingSize(QByteArray png, uint32_t width, uint32_t height);
// A JPEG whose first SOF segment declares `width` x `height`.
QByteArray jpegClaimingSize(QByteArray jpeg, uint16_t width, uint16_t height);
// A PDF whose root page tree's /Count says `count` while its /Kids stay as they are, with
// the cross-reference table rewritten so that every offset is right again.
QByteArray pdfClaimingPageCount(QByteArray pdf, int count);
// A well-formed PDF of `pages` real pages of `pageSize` points that all share one content
// stream, with an exact cross-reference table: many pages in few bytes.
QByteArray pdfWithManyPages(int pages, double pageWidth, double pageHeight);

// Writes a copy of the project text `project` (as encodeProject wrote it, with at least one
// frame) whose frames array holds `frames` copies of its first frame entry. `compact` writes
// each entry on one line without spaces instead. Streams to disk; true on success.
bool writeProjectWithFrames(const QString& path, const QByteArray& project, int64_t frames, bool compact);
// The same with `pages` copies of its first page entry.
bool writeProjectWithPages(const QString& path, const QByteArray& project, int64_t pages);
// The project text with one more member holding `levels` nested arrays.
QByteArray projectWithNesting(const QByteArray& project, int levels);

bool writeFile(const QString& path, const QByteArray& bytes);
QByteArray readFile(const QString& path);

// ---- The child process ----

enum class OpenPath {
    audio,   // the editor's loadAudio, as a drop on the waveform does
    page,    // the sidebar's import of one file: addPDF for ".pdf", addImage otherwise
    project, // the project open dialog (scripted) and the editor's loadProject
};

// What the child saw. Times and sizes are measured inside the child around the opening
// alone: the peak resident set is reset just before it (Linux's clear_refs), so start-up
// costs are not counted.
struct Outcome {
    bool exitedNormally = false; // the child ran to its end (no crash, no kill)
    bool finished = false;       // the operation reached its end within the child's wait
    bool killedForMemory = false;
    bool peakReset = true; // the child could reset its peak before the opening
    int exitCode = -1;
    int64_t elapsedMs = -1;
    int64_t cpuMs = -1;      // CPU time of the child over the opening, all threads
    int64_t baselineKb = -1; // resident set just before the opening
    int64_t peakKb = -1;     // peak resident set during it
    int64_t pageCount = -1;  // the editor's page list afterwards
    int64_t frameCount = -1; // the frame store afterwards
    bool audioLoaded = false;
    bool isLoadingAudio = false;
    double duration = 0.0;
    // The editor's settings and position afterwards.
    double startSilence = 0.0;
    double endSilence = 0.0;
    double transitionDuration = 0.0;
    double volumeBoost = 0.0;
    double currentTime = 0.0;
    QStringList logLines;  // the editor's log lines, in order
    QStringList questions; // informative texts of the questions asked
    QStringList alerts;    // message and informative text of each alert
    QString output;        // everything the child wrote, for failure messages

    int64_t peakGrowthKb() const { return peakKb - baselineKb; }
    bool logged(const QString& line) const { return logLines.contains(line); }
    bool loggedStartingWith(const QString& prefix) const;
};

// Runs one opening of `path` in a child process (this test executable again, running only
// the child test below). `questionAnswer` answers the PDF question.
Outcome openInChild(OpenPath path, const QString& file, const QString& workDirectory, int questionAnswer = 0);

// The body of the child: does nothing unless the child's environment names a case. Returns
// false when it did not run.
bool runChildCaseFromEnvironment();

// The limits every opening must keep. Ten seconds is what Vornik promises its users and what
// the normal build is held to. The sanitizer builds run the same code several times slower
// (ThreadSanitizer typically 5 to 15 times, AddressSanitizer about twice), so there the
// bound is scaled by a fixed factor rather than dropped: a hang still fails.
#if defined(__SANITIZE_THREAD__)
constexpr int64_t kSanitizerSlowdown = 3;
#elif defined(__SANITIZE_ADDRESS__)
constexpr int64_t kSanitizerSlowdown = 2;
#else
constexpr int64_t kSanitizerSlowdown = 1;
#endif
constexpr int64_t kMaxElapsedMs = 10000 * kSanitizerSlowdown;
constexpr int64_t kMaxPeakGrowthKb = 1024 * 1024; // 1 GiB

// Asserts that the child ran to its end without a crash, that the opening ended within
// kMaxElapsedMs and that the peak resident set grew by less than kMaxPeakGrowthKb; prints
// the figures under the case's name.
void expectBoundedOpening(const Outcome& outcome, const QString& caseName);

} // namespace HostileFiles
