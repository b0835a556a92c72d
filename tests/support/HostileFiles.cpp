#include "tests/support/HostileFiles.h"

#include "editor/VideoEditorViewModel.h"
#include "model/Frames.h"
#include "support/Log.h"
#include "tests/support/AudioFixtures.h"
#include "tests/support/EventLoop.h"
#include "tests/support/ScriptedDialogs.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>
#include <QThreadPool>

#include <algorithm>
#include <cstdio>
#include <random>

#include <sys/resource.h>

namespace HostileFiles {

namespace {

const char* const kChildTest = "HostileChild.OpensTheFileNamedInItsEnvironment";
const char* const kPathVariable = "VORNIK_HOSTILE_PATH";
const char* const kFileVariable = "VORNIK_HOSTILE_FILE";
const char* const kWorkVariable = "VORNIK_HOSTILE_WORKDIR";
const char* const kAnswerVariable = "VORNIK_HOSTILE_ANSWER";
const QString kResultPrefix = QStringLiteral("HOSTILE-RESULT ");
const QString kLogPrefix = QStringLiteral("HOSTILE-LOG ");
const QString kQuestionPrefix = QStringLiteral("HOSTILE-QUESTION ");
const QString kAlertPrefix = QStringLiteral("HOSTILE-ALERT ");

// The child is stopped when its resident set passes this: far above the limit the tests
// assert, only there so that a runaway allocation cannot take the machine down.
constexpr int64_t kKillAboveKb = int64_t(6) * 1024 * 1024;
constexpr int kChildWaitMs = 60000;
constexpr int kParentDeadlineMs = 240000;

void putBigEndian32(QByteArray& bytes, qsizetype at, uint32_t value)
{
    for (int i = 0; i < 4; ++i)
        bytes[at + i] = static_cast<char>((value >> (24 - 8 * i)) & 0xFF);
}

void putLittleEndian32(QByteArray& bytes, qsizetype at, uint32_t value)
{
    for (int i = 0; i < 4; ++i)
        bytes[at + i] = static_cast<char>((value >> (8 * i)) & 0xFF);
}

uint32_t littleEndian32(const QByteArray& bytes, qsizetype at)
{
    uint32_t value = 0;
    for (int i = 3; i >= 0; --i)
        value = (value << 8) | static_cast<uint8_t>(bytes[at + i]);
    return value;
}

uint32_t crc32(const char* data, qsizetype size)
{
    uint32_t crc = 0xFFFFFFFFu;
    for (qsizetype i = 0; i < size; ++i) {
        crc ^= static_cast<uint8_t>(data[i]);
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc >> 1) ^ (0xEDB88320u & (0u - (crc & 1u)));
    }
    return ~crc;
}

// Writes a classic cross-reference table for the objects "N 0 obj" found at line starts,
// replacing the one after `xrefStart`, and points startxref at it.
QByteArray withRebuiltXref(const QByteArray& body, int objectCount, const QByteArray& trailerDictionary)
{
    std::vector<qsizetype> offsets(size_t(objectCount) + 1, -1);
    static const QRegularExpression objectStart(QStringLiteral("(?:^|[\\r\\n])(\\d+) 0 obj"));
    const QString text = QString::fromLatin1(body);
    for (auto match = objectStart.globalMatch(text); match.hasNext();) {
        const auto found = match.next();
        const int number = found.captured(1).toInt();
        if (number > 0 && number <= objectCount)
            offsets[size_t(number)] = found.capturedStart(1);
    }
    QByteArray result = body;
    const qsizetype xrefOffset = result.size();
    result += "xref\n0 " + QByteArray::number(objectCount + 1) + "\n0000000000 65535 f \n";
    for (int number = 1; number <= objectCount; ++number) {
        const qsizetype offset = offsets[size_t(number)];
        if (offset < 0)
            result += "0000000000 65535 f \n";
        else
            result += QByteArray::number(offset).rightJustified(10, '0') + " 00000 n \n";
    }
    result +=
            "trailer\n" + trailerDictionary + "\nstartxref\n" + QByteArray::number(xrefOffset) + "\n%%EOF\n";
    return result;
}

int64_t statusKb(const QString& statusPath, const char* field)
{
    QFile file(statusPath);
    if (!file.open(QIODevice::ReadOnly))
        return -1;
    const QByteArray prefix = QByteArray(field) + ':';
    for (const QByteArray& line : file.readAll().split('\n')) {
        if (line.startsWith(prefix))
            return line.mid(prefix.size()).trimmed().split(' ').front().toLongLong();
    }
    return -1;
}

// User and system time of the whole process, every thread included.
int64_t cpuMilliseconds()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto ms = [](const timeval& t) { return int64_t(t.tv_sec) * 1000 + t.tv_usec / 1000; };
    return ms(usage.ru_utime) + ms(usage.ru_stime);
}

void print(const QString& line)
{
    std::fputs((line + QLatin1Char('\n')).toUtf8().constData(), stdout);
    std::fflush(stdout);
}

} // namespace

QByteArray truncated(const QByteArray& bytes, double fraction)
{
    return bytes.left(static_cast<qsizetype>(static_cast<double>(bytes.size()) * fraction));
}

QByteArray randomBytes(qsizetype size, uint32_t seed)
{
    std::mt19937 generator(seed);
    QByteArray bytes(size, Qt::Uninitialized);
    for (qsizetype i = 0; i < size; ++i)
        bytes[i] = static_cast<char>(generator() & 0xFF);
    return bytes;
}

QByteArray wavClaimingDataSize(QByteArray wav, uint32_t dataBytes)
{
    if (!wav.startsWith("RIFF") || wav.mid(8, 4) != "WAVE")
        return {};
    qsizetype at = 12;
    while (at + 8 <= wav.size()) {
        const uint32_t size = littleEndian32(wav, at + 4);
        if (wav.mid(at, 4) == "data") {
            putLittleEndian32(wav, at + 4, dataBytes);
            const uint64_t riff = uint64_t(dataBytes) + uint64_t(at + 8 - 8);
            putLittleEndian32(wav, 4, static_cast<uint32_t>(std::min<uint64_t>(riff, 0xFFFFFFFFu)));
            return wav;
        }
        at += 8 + qsizetype(size) + (size & 1u);
    }
    return {};
}

QByteArray wavClaimingSampleRate(QByteArray wav, uint32_t sampleRate)
{
    if (!wav.startsWith("RIFF") || wav.mid(8, 4) != "WAVE")
        return {};
    qsizetype at = 12;
    while (at + 8 <= wav.size()) {
        const uint32_t size = littleEndian32(wav, at + 4);
        if (wav.mid(at, 4) == "fmt " && at + 24 <= wav.size()) {
            // Format tag and channels (2 + 2), sample rate (4), byte rate (4), block align (2).
            const auto blockAlign = uint32_t(static_cast<uint8_t>(wav[at + 20])) |
                                    (uint32_t(static_cast<uint8_t>(wav[at + 21])) << 8);
            putLittleEndian32(wav, at + 12, sampleRate);
            putLittleEndian32(wav, at + 16, sampleRate * blockAlign);
            return wav;
        }
        at += 8 + qsizetype(size) + (size & 1u);
    }
    return {};
}

QByteArray pngClaimingSize(QByteArray png, uint32_t width, uint32_t height)
{
    // Signature (8), IHDR length (4) and type (4), then width and height; the CRC covers the
    // type and the 13 data bytes.
    if (png.size() < 33 || png.mid(12, 4) != "IHDR")
        return {};
    putBigEndian32(png, 16, width);
    putBigEndian32(png, 20, height);
    putBigEndian32(png, 29, crc32(png.constData() + 12, 17));
    return png;
}

QByteArray jpegClaimingSize(QByteArray jpeg, uint16_t width, uint16_t height)
{
    qsizetype at = 2;
    while (at + 9 < jpeg.size() && static_cast<uint8_t>(jpeg[at]) == 0xFF) {
        const auto marker = static_cast<uint8_t>(jpeg[at + 1]);
        const int length = (static_cast<uint8_t>(jpeg[at + 2]) << 8) | static_cast<uint8_t>(jpeg[at + 3]);
        const bool startOfFrame =
                marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
        if (startOfFrame) {
            jpeg[at + 5] = static_cast<char>(height >> 8);
            jpeg[at + 6] = static_cast<char>(height & 0xFF);
            jpeg[at + 7] = static_cast<char>(width >> 8);
            jpeg[at + 8] = static_cast<char>(width & 0xFF);
            return jpeg;
        }
        at += 2 + length;
    }
    return {};
}

QByteArray pdfClaimingPageCount(QByteArray pdf, int count)
{
    static const QRegularExpression pagesCount(QStringLiteral("/Type\\s*/Pages\\b[^>]*?/Count\\s+(\\d+)|"
                                                              "/Count\\s+(\\d+)[^>]*?/Type\\s*/Pages\\b"));
    const QString text = QString::fromLatin1(pdf);
    const auto match = pagesCount.match(text);
    if (!match.hasMatch())
        return {};
    const int group = match.capturedStart(1) >= 0 ? 1 : 2;
    pdf.replace(match.capturedStart(group), match.capturedLength(group), QByteArray::number(count));

    // Cut the old cross-reference section and write a correct one for the shifted objects.
    const qsizetype xref = pdf.lastIndexOf("\nxref");
    const qsizetype trailer = pdf.indexOf("trailer", xref);
    const qsizetype dictionaryEnd = pdf.indexOf("startxref", trailer);
    if (xref < 0 || trailer < 0 || dictionaryEnd < 0)
        return {};
    const QByteArray trailerDictionary = pdf.mid(trailer + 7, dictionaryEnd - trailer - 7).trimmed();
    static const QRegularExpression sizeEntry(QStringLiteral("/Size\\s+(\\d+)"));
    const auto size = sizeEntry.match(QString::fromLatin1(trailerDictionary));
    if (!size.hasMatch())
        return {};
    return withRebuiltXref(pdf.left(xref + 1), size.captured(1).toInt() - 1, trailerDictionary);
}

QByteArray pdfWithManyPages(int pages, double pageWidth, double pageHeight)
{
    QByteArray body = "%PDF-1.4\n";
    const QByteArray content = "0 0 1 rg 10 10 20 20 re f\n";
    body += "1 0 obj\n<< /Type /Catalog /Pages 2 0 R >>\nendobj\n";
    QByteArray kids;
    kids.reserve(qsizetype(pages) * 10);
    for (int page = 0; page < pages; ++page)
        kids += QByteArray::number(page + 4) + " 0 R ";
    body += "2 0 obj\n<< /Type /Pages /Kids [" + kids + "] /Count " + QByteArray::number(pages) +
            " >>\nendobj\n";
    body += "3 0 obj\n<< /Length " + QByteArray::number(content.size()) + " >>\nstream\n" + content +
            "endstream\nendobj\n";
    const QByteArray pageObject = "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 " +
                                  QByteArray::number(pageWidth) + " " + QByteArray::number(pageHeight) +
                                  "] /Contents 3 0 R >>";
    for (int page = 0; page < pages; ++page)
        body += QByteArray::number(page + 4) + " 0 obj\n" + pageObject + "\nendobj\n";
    const int objects = pages + 3;
    return withRebuiltXref(body, objects, "<< /Size " + QByteArray::number(objects + 1) + " /Root 1 0 R >>");
}

namespace {

// Writes the project with the first entry of the array under `key` repeated `count` times.
bool writeProjectWithRepeatedEntry(const QString& path, const QByteArray& project, const QByteArray& key,
                                   int64_t count, bool compact)
{
    const qsizetype arrayStart = project.indexOf("\"" + key + "\": [");
    const qsizetype open = project.indexOf('{', arrayStart);
    const qsizetype close = project.indexOf('}', open);
    if (arrayStart < 0 || open < 0 || close < 0)
        return false;
    const qsizetype lineStart = project.lastIndexOf('\n', open) + 1;
    const QByteArray head = project.left(lineStart);
    const QByteArray tail = project.mid(close + 1);
    QByteArray entry = project.mid(lineStart, close + 1 - lineStart);
    QByteArray separator = ",\n";
    if (compact) {
        entry = entry.simplified().replace(" ", "");
        separator = ",";
    }

    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return false;
    QByteArray block;
    constexpr int64_t kEntriesPerBlock = 10000;
    for (int64_t i = 0; i < kEntriesPerBlock; ++i)
        block += entry + separator;
    bool ok = file.write(head) == head.size();
    int64_t written = 0;
    while (ok && count - written > kEntriesPerBlock) {
        ok = file.write(block) == block.size();
        written += kEntriesPerBlock;
    }
    while (ok && written < count) {
        const QByteArray last = written + 1 == count ? entry : entry + separator;
        ok = file.write(last) == last.size();
        ++written;
    }
    return ok && file.write(tail) == tail.size();
}

} // namespace

bool writeProjectWithFrames(const QString& path, const QByteArray& project, int64_t frames, bool compact)
{
    return writeProjectWithRepeatedEntry(path, project, "frames", frames, compact);
}

bool writeProjectWithPages(const QString& path, const QByteArray& project, int64_t pages)
{
    return writeProjectWithRepeatedEntry(path, project, "imagePaths", pages, false);
}

QByteArray projectWithNesting(const QByteArray& project, int levels)
{
    const qsizetype open = project.indexOf('{');
    if (open < 0)
        return {};
    const QByteArray member = "\"nested\": " + QByteArray(levels, '[') + QByteArray(levels, ']') + ",";
    QByteArray result = project;
    result.insert(open + 1, member);
    return result;
}

bool writeFile(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(bytes) == bytes.size();
}

QByteArray readFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool Outcome::loggedStartingWith(const QString& prefix) const
{
    return std::any_of(logLines.begin(), logLines.end(),
                       [&prefix](const QString& line) { return line.startsWith(prefix); });
}

void expectBoundedOpening(const Outcome& outcome, const QString& caseName)
{
    const std::string context = caseName.toStdString() + "\n" + outcome.output.right(4000).toStdString();
    EXPECT_FALSE(outcome.killedForMemory) << context;
    ASSERT_TRUE(outcome.exitedNormally) << context;
    EXPECT_EQ(outcome.exitCode, 0) << context;
    EXPECT_TRUE(outcome.finished) << context;
    EXPECT_TRUE(outcome.peakReset) << context;
    EXPECT_GE(outcome.elapsedMs, 0) << context;
    EXPECT_LT(outcome.elapsedMs, kMaxElapsedMs) << context;
    EXPECT_GT(outcome.baselineKb, 0) << context;
    EXPECT_GT(outcome.peakKb, 0) << context;
    EXPECT_LT(outcome.peakGrowthKb(), kMaxPeakGrowthKb) << context;
    print(QStringLiteral("[hostile] %1: %2 ms (%3 ms CPU), peak resident set +%4 MiB (baseline %5 MiB); "
                         "pages %6, frames %7; last line: %8%9")
                  .arg(caseName)
                  .arg(outcome.elapsedMs)
                  .arg(outcome.cpuMs)
                  .arg(double(outcome.peakGrowthKb()) / 1024.0, 0, 'f', 1)
                  .arg(double(outcome.baselineKb) / 1024.0, 0, 'f', 1)
                  .arg(outcome.pageCount)
                  .arg(outcome.frameCount)
                  .arg(outcome.logLines.isEmpty() ? QStringLiteral("(none)") : outcome.logLines.back())
                  .arg(outcome.alerts.isEmpty() ? QString()
                                                : QStringLiteral("; alert: ") + outcome.alerts.back()));
}

Outcome openInChild(OpenPath path, const QString& file, const QString& workDirectory, int questionAnswer)
{
    static const char* const pathNames[] = {"audio", "page", "project"};
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QString::fromLatin1(kPathVariable), QString::fromLatin1(pathNames[int(path)]));
    environment.insert(QString::fromLatin1(kFileVariable), file);
    environment.insert(QString::fromLatin1(kWorkVariable), workDirectory);
    environment.insert(QString::fromLatin1(kAnswerVariable), QString::number(questionAnswer));

    QProcess child;
    child.setProcessEnvironment(environment);
    child.setProcessChannelMode(QProcess::MergedChannels);
    child.start(QCoreApplication::applicationFilePath(),
                {QStringLiteral("--gtest_filter=") + QString::fromLatin1(kChildTest)});
    Outcome outcome;
    if (!child.waitForStarted(30000))
        return outcome;
    const QString status = QStringLiteral("/proc/%1/status").arg(child.processId());
    QElapsedTimer clock;
    clock.start();
    while (!child.waitForFinished(50)) {
        if (statusKb(status, "VmRSS") > kKillAboveKb) {
            outcome.killedForMemory = true;
            child.kill();
        } else if (clock.elapsed() > kParentDeadlineMs) {
            child.kill();
        }
        if (child.state() == QProcess::NotRunning)
            break;
    }
    child.waitForFinished(5000);
    outcome.output = QString::fromUtf8(child.readAll());
    outcome.exitedNormally = child.exitStatus() == QProcess::NormalExit && !outcome.killedForMemory;
    outcome.exitCode = child.exitCode();

    for (const QString& line : outcome.output.split(QLatin1Char('\n'))) {
        if (line.startsWith(kLogPrefix)) {
            outcome.logLines << line.mid(kLogPrefix.size());
        } else if (line.startsWith(kQuestionPrefix)) {
            outcome.questions << line.mid(kQuestionPrefix.size());
        } else if (line.startsWith(kAlertPrefix)) {
            outcome.alerts << line.mid(kAlertPrefix.size());
        } else if (line.startsWith(kResultPrefix)) {
            const QString pair = line.mid(kResultPrefix.size());
            const QString key = pair.section(QLatin1Char('='), 0, 0);
            const QString value = pair.section(QLatin1Char('='), 1);
            if (key == QStringLiteral("peakReset"))
                outcome.peakReset = value == QStringLiteral("1");
            else if (key == QStringLiteral("finished"))
                outcome.finished = value == QStringLiteral("1");
            else if (key == QStringLiteral("cpuMs"))
                outcome.cpuMs = value.toLongLong();
            else if (key == QStringLiteral("elapsedMs"))
                outcome.elapsedMs = value.toLongLong();
            else if (key == QStringLiteral("baselineKb"))
                outcome.baselineKb = value.toLongLong();
            else if (key == QStringLiteral("peakKb"))
                outcome.peakKb = value.toLongLong();
            else if (key == QStringLiteral("pages"))
                outcome.pageCount = value.toLongLong();
            else if (key == QStringLiteral("frames"))
                outcome.frameCount = value.toLongLong();
            else if (key == QStringLiteral("audioLoaded"))
                outcome.audioLoaded = value == QStringLiteral("1");
            else if (key == QStringLiteral("isLoadingAudio"))
                outcome.isLoadingAudio = value == QStringLiteral("1");
            else if (key == QStringLiteral("duration"))
                outcome.duration = value.toDouble();
            else if (key == QStringLiteral("startSilence"))
                outcome.startSilence = value.toDouble();
            else if (key == QStringLiteral("endSilence"))
                outcome.endSilence = value.toDouble();
            else if (key == QStringLiteral("transitionDuration"))
                outcome.transitionDuration = value.toDouble();
            else if (key == QStringLiteral("volumeBoost"))
                outcome.volumeBoost = value.toDouble();
            else if (key == QStringLiteral("currentTime"))
                outcome.currentTime = value.toDouble();
        }
    }
    return outcome;
}

bool runChildCaseFromEnvironment()
{
    const QString pathName = qEnvironmentVariable(kPathVariable);
    if (pathName.isEmpty())
        return false;
    const QString file = qEnvironmentVariable(kFileVariable);
    const QString work = qEnvironmentVariable(kWorkVariable);
    const int answer = qEnvironmentVariableIntValue(kAnswerVariable);

    const QString rendered = QDir(work).filePath(QStringLiteral("rendered"));
    QDir().mkpath(rendered);
    ScriptedDialogs dialogs;
    EditorEnvironment environment = fixtures::manualPlayerEnvironment(rendered);
    environment.dialogs = &dialogs;
    environment.dataDirectory = QDir(work).filePath(QStringLiteral("data"));
    VideoEditorViewModel editor(environment);
    LogCapture log;
    bool done = false;
    QObject::connect(&editor, &VideoEditorViewModel::audioLoadFinished, [&] {
        if (pathName == QStringLiteral("audio"))
            done = true;
    });
    QObject::connect(&editor, &VideoEditorViewModel::projectLoadFinished, [&] { done = true; });
    drainEvents();

    // Writing 5 to clear_refs resets the peak resident set (VmHWM) to the current one.
    {
        QFile clearRefs(QStringLiteral("/proc/self/clear_refs"));
        if (!clearRefs.open(QIODevice::WriteOnly) || clearRefs.write("5") != 1)
            print(kResultPrefix + QStringLiteral("peakReset=0"));
    }
    const QString status = QStringLiteral("/proc/self/status");
    const int64_t baseline = statusKb(status, "VmRSS");
    const int64_t cpuBefore = cpuMilliseconds();
    QElapsedTimer clock;
    clock.start();

    if (pathName == QStringLiteral("audio")) {
        editor.loadAudio(file);
    } else if (pathName == QStringLiteral("page")) {
        dialogs.queueQuestionAnswer(answer);
        if (QFileInfo(file).suffix().toLower() == QStringLiteral("pdf"))
            editor.addPDF(file);
        else
            editor.addImage(file);
        done = true;
    } else {
        dialogs.queueOpenPaths({file});
        editor.loadProjectDialog();
        // Refused files end with a log line and no completion signal.
        if (log.contains(QStringLiteral("[Load] Ismeretlen formátum, skip")) ||
            !log.linesStartingWith(QStringLiteral("[Load] Hiba: a projekt túl nagy")).isEmpty())
            done = true;
    }
    const bool finished = waitUntil([&done] { return done; }, kChildWaitMs);
    QThreadPool::globalInstance()->waitForDone();
    drainEvents();
    const int64_t elapsed = clock.elapsed();
    const int64_t cpu = cpuMilliseconds() - cpuBefore;
    const int64_t peak = statusKb(status, "VmHWM");

    for (const QString& line : log.lines())
        print(kLogPrefix + line);
    for (const ScriptedDialogs::Question& question : dialogs.questions())
        print(kQuestionPrefix + question.informativeText);
    for (const ScriptedDialogs::Alert& alert : dialogs.alerts())
        print(kAlertPrefix + alert.message + QStringLiteral(" | ") + alert.informativeText);
    const auto result = [](const char* key, const QString& value) {
        print(kResultPrefix + QString::fromLatin1(key) + QLatin1Char('=') + value);
    };
    result("finished", finished ? QStringLiteral("1") : QStringLiteral("0"));
    result("elapsedMs", QString::number(elapsed));
    result("cpuMs", QString::number(cpu));
    result("baselineKb", QString::number(baseline));
    result("peakKb", QString::number(peak));
    result("pages", QString::number(editor.images().size()));
    result("frames", QString::number(editor.getFrameManager().getFrameCount()));
    result("audioLoaded", editor.audioURL() ? QStringLiteral("1") : QStringLiteral("0"));
    result("isLoadingAudio", editor.isLoadingAudio() ? QStringLiteral("1") : QStringLiteral("0"));
    result("duration", QString::number(editor.duration(), 'g', 17));
    result("startSilence", QString::number(editor.startSilenceDuration(), 'g', 17));
    result("endSilence", QString::number(editor.endSilenceDuration(), 'g', 17));
    result("transitionDuration", QString::number(editor.transitionDuration(), 'g', 17));
    result("volumeBoost", QString::number(editor.volumeBoost(), 'g', 17));
    result("currentTime", QString::number(editor.currentTime(), 'g', 17));
    return true;
}

} // namespace HostileFiles
