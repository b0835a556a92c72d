// The whole application looks one way and speaks one language: every top-level window is dark
// with light text, and Qt's own dialogs show Hungarian texts.
#include "tests/ui/WindowFixture.h"

#include "app/QtTranslations.h"
#include "ui/AudioSettingsSheet.h"
#include "ui/DarkTheme.h"

#include <QApplication>
#include <QColorDialog>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>
#include <QStyle>
#include <QStyleFactory>
#include <QTranslator>

#include <map>

namespace {

double lightness(const QColor& color)
{
    return color.lightnessF();
}

// The most frequent colour of a grab (its background) and its lightest pixel (its text).
struct Look {
    QColor background;
    QColor lightest;
};

Look lookOf(QWidget& widget)
{
    const QImage picture = widget.grab().toImage().convertToFormat(QImage::Format_RGB32);
    std::map<QRgb, int> counts;
    QColor lightest(Qt::black);
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            const QRgb pixel = picture.pixel(x, y);
            ++counts[pixel];
            if (lightness(QColor(pixel)) > lightness(lightest))
                lightest = QColor(pixel);
        }
    }
    QRgb most = 0;
    int mostCount = 0;
    for (const auto& [pixel, count] : counts) {
        if (count > mostCount) {
            most = pixel;
            mostCount = count;
        }
    }
    return {QColor(most), lightest};
}

class DarkThemeTest : public ::testing::Test {
protected:
    DarkThemeTest()
        : m_palette(QApplication::palette())
        , m_styleName(QApplication::style()->name())
    {
        applyDarkTheme(*qApp);
    }

    ~DarkThemeTest() override
    {
        if (QStyle* style = QStyleFactory::create(m_styleName))
            QApplication::setStyle(style);
        QApplication::setPalette(m_palette);
    }

    static void expectDarkWithLightText(QWidget& widget)
    {
        const Look look = lookOf(widget);
        EXPECT_LT(lightness(look.background), 0.25) << look.background.name().toStdString();
        EXPECT_GT(lightness(look.lightest), 0.8) << look.lightest.name().toStdString();
    }

private:
    QPalette m_palette;
    QString m_styleName;
};

QStringList buttonTexts(QWidget& dialog)
{
    QStringList texts;
    for (QDialogButtonBox* box : dialog.findChildren<QDialogButtonBox*>()) {
        for (QAbstractButton* button : box->buttons())
            texts << button->text().remove(QLatin1Char('&'));
    }
    return texts;
}

class HungarianQtTest : public ::testing::Test {
protected:
    ~HungarianQtTest() override
    {
        for (QTranslator* translator : qApp->findChildren<QTranslator*>()) {
            QCoreApplication::removeTranslator(translator);
            delete translator;
        }
    }
};

} // namespace

TEST_F(DarkThemeTest, EveryRoleOfThePaletteIsSet)
{
    const QPalette palette = QApplication::palette();
    EXPECT_EQ(QApplication::style()->name().toLower(), QStringLiteral("fusion"));
    for (int role = 0; role < QPalette::NColorRoles; ++role) {
        const auto colorRole = static_cast<QPalette::ColorRole>(role);
        EXPECT_TRUE(palette.isBrushSet(QPalette::Active, colorRole)) << role;
        EXPECT_TRUE(palette.isBrushSet(QPalette::Disabled, colorRole)) << role;
    }
    EXPECT_LT(lightness(palette.color(QPalette::ToolTipBase)), 0.25);
    EXPECT_GT(lightness(palette.color(QPalette::ToolTipText)), 0.8);
    EXPECT_GT(lightness(palette.color(QPalette::PlaceholderText)), 0.5);
    EXPECT_GT(lightness(palette.color(QPalette::Link)), 0.5);
}

TEST_F(DarkThemeTest, TheAudioSettingsSheetIsDarkWithLightText)
{
    WindowFixture fixture;
    AudioSettingsSheet sheet(fixture.editor());
    sheet.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&sheet));
    expectDarkWithLightText(sheet);
}

TEST_F(DarkThemeTest, AnAlertIsDarkWithLightText)
{
    QMessageBox box(QMessageBox::Information, QStringLiteral("Vornik"), QStringLiteral("Vornik"));
    box.setInformativeText(QStringLiteral("Verzió 1.0\n\nKotta videó készítő alkalmazás"));
    box.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&box));
    expectDarkWithLightText(box);
}

TEST_F(DarkThemeTest, TheMenuBarIsDarkWithLightText)
{
    WindowFixture fixture;
    fixture.show();
    expectDarkWithLightText(*fixture.window().menuBar());
}

TEST_F(HungarianQtTest, FileChooserAndColourDialogShowHungarianButtons)
{
    ASSERT_TRUE(installQtTranslations(*qApp));
    QFileDialog chooser;
    chooser.setOption(QFileDialog::DontUseNativeDialog);
    chooser.setAcceptMode(QFileDialog::AcceptOpen);
    const QStringList chooserButtons = buttonTexts(chooser);
    EXPECT_TRUE(chooserButtons.contains(QStringLiteral("Mégse"))) << chooserButtons.join(u',').toStdString();
    EXPECT_TRUE(chooserButtons.contains(QStringLiteral("Megnyitás")))
            << chooserButtons.join(u',').toStdString();

    QColorDialog colours;
    colours.setOption(QColorDialog::DontUseNativeDialog);
    const QStringList colourButtons = buttonTexts(colours);
    EXPECT_TRUE(colourButtons.contains(QStringLiteral("Mégse"))) << colourButtons.join(u',').toStdString();
}
