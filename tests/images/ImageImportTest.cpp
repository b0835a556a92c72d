// The editor's page import: image files and PDFs, single and paired, the question, bad input.
#include "editor/VideoEditorViewModel.h"
#include "images/PagePointSize.h"
#include "model/Frames.h"
#include "support/Log.h"
#include "tests/support/HostileFiles.h"
#include "tests/support/ImageFixtures.h"
#include "tests/support/PdfFixtures.h"
#include "tests/support/ScriptedDialogs.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QPainter>
#include <QSignalSpy>
#include <QTemporaryDir>

namespace {

constexpr int kOnePerPage = 0;
constexpr int kTwoSideBySide = 1;
constexpr int kCancel = 2;

class ImageImport : public ::testing::Test {
protected:
    ImageImport()
        : editor(environment())
        , autoSaves(&editor, &VideoEditorViewModel::autoSaveScheduled)
        , imagesChanges(&editor, &VideoEditorViewModel::imagesChanged)
    {}

    EditorEnvironment environment()
    {
        EditorEnvironment env;
        env.dialogs = &dialogs;
        return env;
    }

    QString pdf(const QString& name, int pages, QSizeF size = QSizeF(100, 150))
    {
        const QString path = dir.filePath(name);
        EXPECT_TRUE(PdfFixtures::writePdf(path, pages, size));
        return path;
    }

    QString file(const QString& name, const QByteArray& bytes)
    {
        const QString path = dir.filePath(name);
        EXPECT_TRUE(PdfFixtures::writeFile(path, bytes));
        return path;
    }

    QString png(const QString& name, int width, int height)
    {
        const QString path = dir.filePath(name);
        EXPECT_TRUE(ImageFixtures::quadrantImage(width, height).save(path));
        return path;
    }

    QTemporaryDir dir;
    ScriptedDialogs dialogs;
    VideoEditorViewModel editor;
    QSignalSpy autoSaves;
    QSignalSpy imagesChanges;
};

} // namespace

TEST_F(ImageImport, ImageFileIsAppendedWithoutPageNumbers)
{
    const QString path = png(QStringLiteral("page.png"), 120, 80);
    editor.addImage(path);
    ASSERT_EQ(editor.images().size(), 1u);
    const ImageItem& item = editor.images()[0];
    EXPECT_EQ(item.url(), path);
    EXPECT_FALSE(item.pageNumber.has_value());
    EXPECT_FALSE(item.pairedPageNumber.has_value());
    EXPECT_FALSE(item.id().isNull());
    EXPECT_EQ(item.image().deviceIndependentSize(), QSizeF(120, 80));
    EXPECT_DOUBLE_EQ(item.image().devicePixelRatio(), 1.0);
    EXPECT_TRUE(ImageFixtures::frameStoreMatchesPageList(editor));
    EXPECT_EQ(autoSaves.count(), 1);
    EXPECT_GE(imagesChanges.count(), 1);
    EXPECT_TRUE(dialogs.requests().empty());
}

TEST_F(ImageImport, NewEntriesAreAppendedAtTheEnd)
{
    editor.addImage(png(QStringLiteral("a.png"), 10, 10));
    dialogs.queueQuestionAnswer(kOnePerPage);
    editor.addPDF(pdf(QStringLiteral("b.pdf"), 2));
    editor.addImage(png(QStringLiteral("c.png"), 30, 10));
    ASSERT_EQ(editor.images().size(), 4u);
    EXPECT_TRUE(editor.images()[0].url().endsWith(QStringLiteral("a.png")));
    EXPECT_EQ(editor.images()[1].pageNumber, 1);
    EXPECT_EQ(editor.images()[2].pageNumber, 2);
    EXPECT_TRUE(editor.images()[3].url().endsWith(QStringLiteral("c.png")));
    EXPECT_TRUE(ImageFixtures::frameStoreMatchesPageList(editor));
}

TEST_F(ImageImport, ImportingTheSameFileTwiceAddsItTwice)
{
    const QString image = png(QStringLiteral("page.png"), 50, 70);
    editor.addImage(image);
    editor.addImage(image);
    ASSERT_EQ(editor.images().size(), 2u);
    EXPECT_EQ(editor.images()[0].url(), image);
    EXPECT_EQ(editor.images()[1].url(), image);
    EXPECT_NE(editor.images()[0].id(), editor.images()[1].id());

    const QString document = pdf(QStringLiteral("score.pdf"), 2);
    dialogs.queueQuestionAnswer(kOnePerPage);
    dialogs.queueQuestionAnswer(kOnePerPage);
    editor.addPDF(document);
    editor.addPDF(document);
    ASSERT_EQ(editor.images().size(), 6u);
    EXPECT_EQ(editor.images()[2].pageNumber, 1);
    EXPECT_EQ(editor.images()[3].pageNumber, 2);
    EXPECT_EQ(editor.images()[4].pageNumber, 1);
    EXPECT_EQ(editor.images()[5].pageNumber, 2);
    EXPECT_EQ(autoSaves.count(), 4);
}

TEST_F(ImageImport, UnreadableImageFilesAreIgnoredSilently)
{
    editor.addImage(png(QStringLiteral("keep.png"), 20, 20));
    autoSaves.clear();
    imagesChanges.clear();
    LogCapture log;
    const QStringList bad{
            dir.filePath(QStringLiteral("absent.png")),
            file(QStringLiteral("text.png"), "plain text\n"),
            file(QStringLiteral("zero.png"), ImageFixtures::zeroSizePng()),
            file(QStringLiteral("huge.png"), ImageFixtures::blackPng(30000, 30000)),
    };
    for (const QString& path : bad)
        editor.addImage(path);
    EXPECT_EQ(editor.images().size(), 1u);
    EXPECT_EQ(autoSaves.count(), 0);
    EXPECT_EQ(imagesChanges.count(), 0);
    EXPECT_TRUE(log.lines().isEmpty());
    EXPECT_TRUE(dialogs.requests().empty());
}

TEST_F(ImageImport, PdfQuestionHasTheExactTextsAndButtons)
{
    dialogs.queueQuestionAnswer(kCancel);
    editor.addPDF(pdf(QStringLiteral("three.pdf"), 3));
    const auto questions = dialogs.questions();
    ASSERT_EQ(questions.size(), 1u);
    EXPECT_EQ(questions[0].style, AlertStyle::informational);
    EXPECT_EQ(questions[0].message, QStringLiteral("PDF importálás"));
    EXPECT_EQ(questions[0].informativeText, QStringLiteral("Hogyan importáljuk a 3 oldalas PDF-et?"));
    EXPECT_EQ(questions[0].buttons,
              (QStringList{QStringLiteral("Oldalanként"), QStringLiteral("2 oldal egymás mellé"),
                           QStringLiteral("Mégse")}));
}

TEST_F(ImageImport, CancellingThePdfQuestionLeavesTheListUntouched)
{
    editor.addImage(png(QStringLiteral("keep.png"), 20, 20));
    autoSaves.clear();
    imagesChanges.clear();
    dialogs.queueQuestionAnswer(kCancel);
    editor.addPDF(pdf(QStringLiteral("three.pdf"), 3));
    EXPECT_EQ(dialogs.questions().size(), 1u);
    EXPECT_EQ(editor.images().size(), 1u);
    EXPECT_EQ(autoSaves.count(), 0);
    EXPECT_EQ(imagesChanges.count(), 0);
}

TEST_F(ImageImport, PdfPageByPageMakesOneEntryPerPage)
{
    const QString path = pdf(QStringLiteral("three.pdf"), 3, QSizeF(200, 300));
    dialogs.queueQuestionAnswer(kOnePerPage);
    editor.addPDF(path);
    ASSERT_EQ(editor.images().size(), 3u);
    for (int i = 0; i < 3; ++i) {
        const ImageItem& item = editor.images()[static_cast<size_t>(i)];
        EXPECT_EQ(item.url(), path);
        EXPECT_EQ(item.pageNumber, i + 1);
        EXPECT_FALSE(item.pairedPageNumber.has_value());
        EXPECT_EQ(item.image().deviceIndependentSize(), QSizeF(200, 300));
        EXPECT_EQ(item.image().size(), QSize(400, 600));
        EXPECT_EQ(item.image().pixelColor(20, 20), PdfFixtures::pageColor(i));
    }
    EXPECT_TRUE(ImageFixtures::frameStoreMatchesPageList(editor));
    EXPECT_EQ(autoSaves.count(), 1);
}

TEST_F(ImageImport, FivePagePdfInPairsYieldsThreeEntries)
{
    const QString path = pdf(QStringLiteral("five.pdf"), 5, QSizeF(100, 150));
    dialogs.queueQuestionAnswer(kTwoSideBySide);
    editor.addPDF(path);
    ASSERT_EQ(editor.images().size(), 3u);
    const auto& images = editor.images();
    EXPECT_EQ(images[0].pageNumber, 1);
    EXPECT_EQ(images[0].pairedPageNumber, 2);
    EXPECT_EQ(images[1].pageNumber, 3);
    EXPECT_EQ(images[1].pairedPageNumber, 4);
    EXPECT_EQ(images[2].pageNumber, 5);
    EXPECT_FALSE(images[2].pairedPageNumber.has_value());
    for (const ImageItem& item : images)
        EXPECT_EQ(item.url(), path);

    // A pair is two pages side by side in points, at two pixels per point.
    EXPECT_EQ(images[1].image().deviceIndependentSize(), QSizeF(200, 150));
    EXPECT_DOUBLE_EQ(images[1].image().devicePixelRatio(), 2.0);
    // Page 3's mark at the left edge, page 4's at 100 points (pixel 200).
    EXPECT_EQ(images[1].image().pixelColor(20, 20), PdfFixtures::pageColor(2));
    EXPECT_EQ(images[1].image().pixelColor(220, 20), PdfFixtures::pageColor(3));
    EXPECT_EQ(images[1].image().pixelColor(399, 299), QColor(Qt::white));
    EXPECT_EQ(images[2].image().deviceIndependentSize(), QSizeF(100, 150));
    EXPECT_EQ(images[2].image().pixelColor(20, 20), PdfFixtures::pageColor(4));
    EXPECT_TRUE(ImageFixtures::frameStoreMatchesPageList(editor));
    EXPECT_EQ(autoSaves.count(), 1);
}

TEST_F(ImageImport, PairedPagesOfDifferentHeightsJoinAtTheTallerHeight)
{
    const QString path = dir.filePath(QStringLiteral("mixed.pdf"));
    ASSERT_TRUE(PdfFixtures::writePdf(path, {QSizeF(100, 100), QSizeF(100, 200)}));
    dialogs.queueQuestionAnswer(kTwoSideBySide);
    editor.addPDF(path);
    ASSERT_EQ(editor.images().size(), 1u);
    // The first page scaled to 200 x 200, the second 100 x 200 beside it.
    EXPECT_EQ(editor.images()[0].image().deviceIndependentSize(), QSizeF(300, 200));
}

TEST_F(ImageImport, OnePagePdfInPairsYieldsOneSingleEntry)
{
    dialogs.queueQuestionAnswer(kTwoSideBySide);
    editor.addPDF(pdf(QStringLiteral("one.pdf"), 1));
    ASSERT_EQ(editor.images().size(), 1u);
    EXPECT_EQ(editor.images()[0].pageNumber, 1);
    EXPECT_FALSE(editor.images()[0].pairedPageNumber.has_value());
    EXPECT_EQ(editor.images()[0].image().deviceIndependentSize(), QSizeF(100, 150));
}

TEST_F(ImageImport, ZeroPagePdfYieldsNoEntriesButStillUpdatesAndSchedulesAutosave)
{
    const QString path = file(QStringLiteral("empty.pdf"), PdfFixtures::zeroPagePdf());
    for (int answer : {kOnePerPage, kTwoSideBySide}) {
        // An entry the frame store has not been told about yet: the import must hand over the list.
        editor.setImages({ImageItem(QUuid::createUuid(), ImageFixtures::quadrantImage(10, 10),
                                    QStringLiteral("/x.png"))});
        editor.getFrameManager().setImages({});
        autoSaves.clear();
        dialogs.queueQuestionAnswer(answer);
        editor.addPDF(path);
        EXPECT_EQ(editor.images().size(), 1u) << answer;
        EXPECT_TRUE(ImageFixtures::frameStoreMatchesPageList(editor)) << answer;
        EXPECT_EQ(autoSaves.count(), 1) << answer;
    }
    const auto questions = dialogs.questions();
    ASSERT_EQ(questions.size(), 2u);
    EXPECT_EQ(questions[0].informativeText, QStringLiteral("Hogyan importáljuk a 0 oldalas PDF-et?"));
    EXPECT_EQ(questions[1].informativeText, QStringLiteral("Hogyan importáljuk a 0 oldalas PDF-et?"));
}

TEST_F(ImageImport, PdfPageWithTransparentBackgroundIsStoredWhite)
{
    dialogs.queueQuestionAnswer(kOnePerPage);
    dialogs.queueQuestionAnswer(kTwoSideBySide);
    const QString path = pdf(QStringLiteral("clear.pdf"), 2, QSizeF(100, 150));
    editor.addPDF(path);
    editor.addPDF(path);
    ASSERT_EQ(editor.images().size(), 3u);
    for (const ImageItem& item : editor.images()) {
        const QImage& image = item.image();
        // Bottom-right corner: outside the drawn mark, transparent in the PDF.
        const QColor corner = image.pixelColor(image.width() - 1, image.height() - 1);
        EXPECT_EQ(corner, QColor(Qt::white));
        EXPECT_EQ(image.pixelColor(image.width() / 4, image.height() / 2), QColor(Qt::white));
    }
}

TEST_F(ImageImport, UnreadablePdfsAreIgnoredSilently)
{
    editor.addImage(png(QStringLiteral("keep.png"), 20, 20));
    autoSaves.clear();
    imagesChanges.clear();

    QFile full(pdf(QStringLiteral("full.pdf"), 4));
    ASSERT_TRUE(full.open(QIODevice::ReadOnly));
    const QByteArray bytes = full.readAll();
    const QStringList bad{
            dir.filePath(QStringLiteral("absent.pdf")),
            file(QStringLiteral("text.pdf"), "This is a text file, not a PDF.\n"),
            file(QStringLiteral("half.pdf"), bytes.left(bytes.size() / 2)),
            file(QStringLiteral("locked.pdf"), PdfFixtures::passwordProtectedPdf()),
    };
    LogCapture log;
    for (const QString& path : bad) {
        dialogs.queueQuestionAnswer(kOnePerPage);
        editor.addPDF(path);
    }
    EXPECT_TRUE(dialogs.questions().empty());
    EXPECT_EQ(editor.images().size(), 1u);
    EXPECT_EQ(autoSaves.count(), 0);
    EXPECT_EQ(imagesChanges.count(), 0);
    EXPECT_TRUE(log.lines().isEmpty());
}

TEST_F(ImageImport, AnImportPastAThousandPagesAddsNothingAndSaysHowManyItWouldMake)
{
    std::vector<ImageItem> pages;
    const QImage tiny = ImageFixtures::quadrantImage(4, 4);
    for (int i = 0; i < 998; ++i)
        pages.emplace_back(QUuid::createUuid(), tiny, QStringLiteral("/pages/p.png"));
    editor.setImages(std::move(pages));
    const QString three = pdf(QStringLiteral("three.pdf"), 3);

    // Three pages one by one would make 1001; as pairs they make 1000, which fits.
    dialogs.queueQuestionAnswer(kOnePerPage);
    editor.addPDF(three);
    EXPECT_EQ(editor.images().size(), 998u);
    ASSERT_EQ(dialogs.alerts().size(), 1u);
    EXPECT_EQ(dialogs.alerts()[0].style, AlertStyle::critical);
    EXPECT_EQ(dialogs.alerts()[0].message, QStringLiteral("Túl sok oldal"));
    EXPECT_EQ(dialogs.alerts()[0].informativeText,
              QStringLiteral(
                      "Egy projektben legfeljebb 1000 oldal lehet; ez a hozzáadás 1001 oldalra növelné."));
    EXPECT_EQ(autoSaves.count(), 0);

    dialogs.queueQuestionAnswer(kTwoSideBySide);
    editor.addPDF(three);
    EXPECT_EQ(editor.images().size(), 1000u);
    EXPECT_EQ(dialogs.alerts().size(), 1u);

    const QString image = png(QStringLiteral("one.png"), 10, 10);
    editor.addImage(image);
    EXPECT_EQ(editor.images().size(), 1000u);
    ASSERT_EQ(dialogs.alerts().size(), 2u);
    EXPECT_EQ(dialogs.alerts()[1].informativeText,
              QStringLiteral(
                      "Egy projektben legfeljebb 1000 oldal lehet; ez a hozzáadás 1001 oldalra növelné."));
    EXPECT_TRUE(ImageFixtures::frameStoreMatchesPageList(editor));
}

TEST_F(ImageImport, APairedA4SpreadIsPlacedByItsExactSizeInPoints)
{
    const QString path = dir.filePath(QStringLiteral("a4.pdf"));
    ASSERT_TRUE(HostileFiles::writeFile(path, HostileFiles::pdfWithManyPages(2, 595.276, 841.89)));
    dialogs.queueQuestionAnswer(kTwoSideBySide);
    editor.addPDF(path);
    ASSERT_EQ(editor.images().size(), 1u);
    const QImage& spread = editor.images()[0].image();
    EXPECT_NEAR(pagePointSize(spread).width(), 2 * 595.276, 1e-3);
    EXPECT_NEAR(pagePointSize(spread).height(), 841.89, 1e-4);
    // Still two pixels per point.
    EXPECT_EQ(spread.size(), QSize(2381, 1684));
    // Half-point sizes (1191 x 842) would give 1528 pixels at x 196.
    EXPECT_EQ(editor.computePlacement(spread, QSizeF(1920, 1080)), (Placement{197, 0, 1527, 1080}));
}

TEST_F(ImageImport, BlackAndWhitePdfPagesAndPairsAreHeldInOneBytePerPixel)
{
    const QString path = dir.filePath(QStringLiteral("staff.pdf"));
    ASSERT_TRUE(PdfFixtures::writePdf(path, 3, QSizeF(200, 300), [](QPainter& painter, int, QSizeF size) {
        painter.setPen(QPen(Qt::black, 0.5));
        painter.drawLine(QPointF(20, 50), QPointF(size.width() - 20, 50));
    }));
    dialogs.queueQuestionAnswer(kOnePerPage);
    editor.addPDF(path);
    dialogs.queueQuestionAnswer(kTwoSideBySide);
    editor.addPDF(path);
    ASSERT_EQ(editor.images().size(), 5u);
    for (const ImageItem& item : editor.images())
        EXPECT_EQ(item.image().format(), QImage::Format_Grayscale8) << item.pageNumber.value_or(0);
    EXPECT_EQ(editor.images()[3].pairedPageNumber, 2);
    EXPECT_EQ(editor.images()[3].image().deviceIndependentSize(), QSizeF(400, 300));
}
