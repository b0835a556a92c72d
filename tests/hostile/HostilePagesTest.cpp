// Score pages from anywhere: PNG, JPEG and PDF files cut short, replaced by noise, emptied,
// or with headers that claim absurd sizes (a 100000 x 100000 picture, a PDF declaring 100000
// pages), each imported through the sidebar's path (addImage / addPDF) in a child process.
// A file that cannot be read is ignored silently; nothing may crash, hang or take a gigabyte.
#include "tests/support/HostileFiles.h"
#include "tests/support/ImageFixtures.h"
#include "tests/support/PdfFixtures.h"

#include <gtest/gtest.h>

#include <ostream>

#include <QBuffer>
#include <QImage>
#include <QPainter>
#include <QTemporaryDir>

#include <functional>

namespace {

using HostileFiles::Outcome;

constexpr int kValidPdfPages = 3;

enum class Format { png, jpeg, pdf };

QString extension(Format format)
{
    switch (format) {
    case Format::png:
        return QStringLiteral("png");
    case Format::jpeg:
        return QStringLiteral("jpg");
    case Format::pdf:
        return QStringLiteral("pdf");
    }
    return {};
}

// A valid page as Qt writes it: a 600 x 800 picture saved by QImage, or a 3-page PDF drawn
// with QPdfWriter.
QByteArray validPage(Format format, const QString& directory)
{
    if (format == Format::pdf) {
        const QString path = directory + QStringLiteral("/valid.pdf");
        if (!PdfFixtures::writePdf(path, kValidPdfPages, QSizeF(300, 400)))
            return {};
        return HostileFiles::readFile(path);
    }
    QImage image = ImageFixtures::quadrantImage(600, 800);
    {
        QPainter painter(&image);
        painter.setPen(Qt::black);
        painter.drawText(QRectF(0, 0, 600, 800), Qt::AlignCenter, QStringLiteral("Vornik"));
    }
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, format == Format::png ? "PNG" : "JPEG");
    return bytes;
}

// What the import must end with.
enum class Expect {
    added,      // the page (or every PDF page) is in the list
    addedOrNot, // a partly readable file may give a page; either way nothing is reported
    notAdded,   // nothing is added and nothing is reported
};

struct PageCase {
    const char* name;
    Format format;
    std::function<QByteArray(const QByteArray& valid)> make;
    Expect expect;
    // For a PDF that is opened: the page count the question must name.
    int questionPageCount = -1;
    // The pages a fully read file gives; -1 for the valid file's own count.
    int fullPageCount = -1;
    // The informative text of the one alert the import must show; none when empty.
    const char* alert = "";
};

// Names the case in test listings (instead of the bytes of the structure).
void PrintTo(const PageCase& testCase, std::ostream* out)
{
    *out << testCase.name;
}

const char* const kTooManyPagesAlert =
        "A PDF túl sok oldalas (100000 oldal); legfeljebb 1000 oldalas PDF importálható.";

using HostileFiles::empty;
using HostileFiles::half;
using HostileFiles::ninetyPercent;
using HostileFiles::tenth;
using HostileFiles::unchanged;

QByteArray noise(const QByteArray& valid)
{
    return HostileFiles::randomBytes(valid.size(), 0x5EED0002u);
}
QByteArray pngOfTenGigapixels(const QByteArray& valid)
{
    return HostileFiles::pngClaimingSize(valid, 100000, 100000);
}
QByteArray wellFormedPngOfTenGigapixels(const QByteArray&)
{
    return ImageFixtures::blackPng(100000, 100000);
}
QByteArray jpegOfFourGigapixels(const QByteArray& valid)
{
    return HostileFiles::jpegClaimingSize(valid, 65500, 65500);
}
QByteArray pdfDeclaringManyPages(const QByteArray& valid)
{
    return HostileFiles::pdfClaimingPageCount(valid, 100000);
}
QByteArray pdfWithManyRealPages(const QByteArray&)
{
    return HostileFiles::pdfWithManyPages(100000, 40, 30);
}

QByteArray pdfWithAThousandPages(const QByteArray&)
{
    return HostileFiles::pdfWithManyPages(1000, 40, 30);
}
QByteArray pdfWithAHugePage(const QByteArray&)
{
    // 14400 points, 200 inches, is the largest page side a PDF reader has to accept.
    return HostileFiles::pdfWithManyPages(1, 14400, 14400);
}

class HostilePages : public ::testing::TestWithParam<PageCase> {};

TEST_P(HostilePages, ImportEndsInTimeWithBoundedMemory)
{
    const PageCase& c = GetParam();
    QTemporaryDir directory;
    ASSERT_TRUE(directory.isValid());
    const QByteArray valid = validPage(c.format, directory.path());
    ASSERT_FALSE(valid.isEmpty());
    const QByteArray input = c.make(valid);
    if (input.isEmpty()) {
        ASSERT_TRUE(std::string(c.name).ends_with("zero_bytes")) << "the fixture could not be made";
    }
    const QString path = directory.filePath(QStringLiteral("input.") + extension(c.format));
    ASSERT_TRUE(HostileFiles::writeFile(path, input));

    const Outcome outcome = HostileFiles::openInChild(HostileFiles::OpenPath::page, path, directory.path());
    HostileFiles::expectBoundedOpening(outcome, QString::fromLatin1(c.name));
    const std::string context = outcome.output.right(3000).toStdString();

    const int fullCount = c.fullPageCount >= 0      ? c.fullPageCount
                          : c.format == Format::pdf ? kValidPdfPages
                                                    : 1;
    // The page import reports nothing, neither for a page it adds nor for a file it ignores;
    // only a PDF it refuses for its size gets an alert.
    EXPECT_TRUE(outcome.logLines.isEmpty()) << context;
    if (QString::fromUtf8(c.alert).isEmpty()) {
        EXPECT_TRUE(outcome.alerts.isEmpty()) << context;
    } else {
        EXPECT_EQ(outcome.alerts,
                  QStringList{QStringLiteral("PDF importálás | ") + QString::fromUtf8(c.alert)})
                << context;
        EXPECT_TRUE(outcome.questions.isEmpty()) << context;
    }
    switch (c.expect) {
    case Expect::added:
        EXPECT_EQ(outcome.pageCount, fullCount) << context;
        break;
    case Expect::addedOrNot:
        EXPECT_GE(outcome.pageCount, 0) << context;
        EXPECT_LE(outcome.pageCount, fullCount) << context;
        break;
    case Expect::notAdded:
        EXPECT_EQ(outcome.pageCount, 0) << context;
        break;
    }
    if (c.questionPageCount >= 0) {
        ASSERT_EQ(outcome.questions.size(), 1) << context;
        EXPECT_EQ(outcome.questions.front(),
                  QStringLiteral("Hogyan importáljuk a %1 oldalas PDF-et?").arg(c.questionPageCount))
                << context;
    }
}

// A PNG or PDF cut short is refused by its reader; Qt's JPEG reader gives the part of a JPEG
// that is there (the rest grey), so a cut JPEG may become a page.
const PageCase kPageCases[] = {
        {"png_valid", Format::png, unchanged, Expect::added},
        {"png_truncated_10_percent", Format::png, tenth, Expect::notAdded},
        {"png_truncated_50_percent", Format::png, half, Expect::notAdded},
        {"png_truncated_90_percent", Format::png, ninetyPercent, Expect::notAdded},
        {"png_random_bytes", Format::png, noise, Expect::notAdded},
        {"png_zero_bytes", Format::png, empty, Expect::notAdded},
        {"png_header_claiming_100000_by_100000", Format::png, pngOfTenGigapixels, Expect::notAdded},
        {"png_well_formed_100000_by_100000", Format::png, wellFormedPngOfTenGigapixels, Expect::notAdded},
        {"jpeg_valid", Format::jpeg, unchanged, Expect::added},
        {"jpeg_truncated_10_percent", Format::jpeg, tenth, Expect::addedOrNot},
        {"jpeg_truncated_50_percent", Format::jpeg, half, Expect::addedOrNot},
        {"jpeg_truncated_90_percent", Format::jpeg, ninetyPercent, Expect::addedOrNot},
        {"jpeg_random_bytes", Format::jpeg, noise, Expect::notAdded},
        {"jpeg_zero_bytes", Format::jpeg, empty, Expect::notAdded},
        {"jpeg_header_claiming_65500_by_65500", Format::jpeg, jpegOfFourGigapixels, Expect::notAdded},
        {"pdf_valid", Format::pdf, unchanged, Expect::added, kValidPdfPages},
        {"pdf_truncated_10_percent", Format::pdf, tenth, Expect::notAdded},
        {"pdf_truncated_50_percent", Format::pdf, half, Expect::notAdded},
        {"pdf_truncated_90_percent", Format::pdf, ninetyPercent, Expect::notAdded},
        {"pdf_random_bytes", Format::pdf, noise, Expect::notAdded},
        {"pdf_zero_bytes", Format::pdf, empty, Expect::notAdded},
        {"pdf_page_tree_declaring_100000_pages", Format::pdf, pdfDeclaringManyPages, Expect::notAdded, -1, -1,
         kTooManyPagesAlert},
        {"pdf_with_100000_real_pages", Format::pdf, pdfWithManyRealPages, Expect::notAdded, -1, -1,
         kTooManyPagesAlert},
        {"pdf_with_1000_real_pages_still_imports", Format::pdf, pdfWithAThousandPages, Expect::added, 1000,
         1000},
        {"pdf_page_of_200_by_200_inches", Format::pdf, pdfWithAHugePage, Expect::added, 1, 1},
};

INSTANTIATE_TEST_SUITE_P(Pages, HostilePages, ::testing::ValuesIn(kPageCases),
                         [](const ::testing::TestParamInfo<PageCase>& tested) {
                             return std::string(tested.param.name);
                         });

} // namespace
