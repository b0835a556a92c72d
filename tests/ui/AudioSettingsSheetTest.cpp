#include "ui/AudioSettingsSheet.h"

#include "audio/Loudness.h"
#include "editor/VideoEditorViewModel.h"
#include "tests/support/ScriptedDialogs.h"

#include <QLabel>
#include <QPushButton>
#include <QSignalSpy>
#include <QSlider>
#include <QTest>
#include <QToolButton>

#include <gtest/gtest.h>

namespace {

EditorEnvironment environmentWith(Dialogs* dialogs)
{
    EditorEnvironment environment;
    environment.dialogs = dialogs;
    return environment;
}

class AudioSettingsSheetTest : public ::testing::Test {
protected:
    AudioSettingsSheetTest()
        : editor(environmentWith(&dialogs))
    {
        editor.setShowAudioSettings(true);
        sheet = new AudioSettingsSheet(editor);
        sheet->open();
    }
    ~AudioSettingsSheetTest() override { delete sheet; }

    template <typename T>
    T* child(const char* name)
    {
        T* found = sheet->findChild<T*>(QString::fromLatin1(name));
        EXPECT_NE(found, nullptr) << name;
        return found;
    }
    QString text(const char* name) { return child<QLabel>(name)->text(); }
    bool shown(const char* name) { return child<QLabel>(name)->isVisibleTo(sheet); }
    QStringList allTexts()
    {
        QStringList texts;
        for (QLabel* label : sheet->findChildren<QLabel*>())
            texts << label->text();
        return texts;
    }

    ScriptedDialogs dialogs;
    VideoEditorViewModel editor;
    AudioSettingsSheet* sheet = nullptr;
};

} // namespace

TEST_F(AudioSettingsSheetTest, ShowsItsTextsAndTheCurrentSettings)
{
    EXPECT_TRUE(sheet->isModal());
    const QStringList texts = allTexts();
    for (const char* expected :
         {"Hangsáv beállítások", "Csend időtartamok", "Kezdő csend (borítókép)", "Vég csend (felirat)",
          "Képek közötti átmenet (fade)",
          "Az átmenet időtartama, ameddig az egyik kép fokozatosan átúszik a másikba.", "Hangerő erősítés",
          "100% = eredeti hangerő. A YouTube ajánlott szintje kb -14 LUFS.", "25%", "1000%",
          "YouTube-hoz képest:", "Eredeti", "Erősítve", "YouTube cél", "-16.0 dB",
          "Az alkalmazás gomb megnyomásával a hangsáv újra fog töltődni és az összes oldal hozzárendelés "
          "törlődni "
          "fog!"})
        EXPECT_TRUE(texts.contains(QString::fromUtf8(expected))) << expected;
    // The defaults: 3 s and 5 s of silence, a half-second fade, no boost.
    EXPECT_EQ(text("startSilenceValue"), QStringLiteral("3.0 mp"));
    EXPECT_EQ(text("endSilenceValue"), QStringLiteral("5.0 mp"));
    EXPECT_EQ(text("transitionValue"), QStringLiteral("0.5 mp"));
    EXPECT_EQ(text("volumeBoostValue"), QStringLiteral("100%"));
    EXPECT_EQ(child<QPushButton>("cancelButton")->text(), QStringLiteral("Mégse"));
    EXPECT_EQ(child<QPushButton>("applyButton")->text(), QStringLiteral("Alkalmaz"));
}

TEST_F(AudioSettingsSheetTest, WithNoAudioTheVerdictReadsNincsAudioInGrayAndTheValuesAreAbsent)
{
    EXPECT_EQ(text("loudnessVerdict"), QStringLiteral("Nincs audio"));
    EXPECT_EQ(child<QLabel>("loudnessVerdict")->palette().color(QPalette::WindowText),
              editor.youtubeLoudnessInfo().color);
    const QColor gray = child<QLabel>("loudnessVerdict")->palette().color(QPalette::WindowText);
    EXPECT_TRUE(gray.red() == gray.green() && gray.green() == gray.blue() && gray.red() > 60 &&
                gray.red() < 200)
            << gray.name().toStdString();
    EXPECT_FALSE(shown("originalLoudnessValue"));
    EXPECT_FALSE(shown("boostedLoudnessValue"));
    EXPECT_TRUE(text("originalLoudnessValue").isEmpty());
    EXPECT_TRUE(text("boostedLoudnessValue").isEmpty());
    EXPECT_EQ(text("youtubeTargetValue"), QStringLiteral("-16.0 dB"));
}

TEST_F(AudioSettingsSheetTest, MovingTheBoostFrom100To200RaisesBoostedBySixDbBeforeApplying)
{
    editor.setAudioLoudnessDB(-20.0);
    EXPECT_EQ(text("originalLoudnessValue"), QStringLiteral("-20.0 dB"));
    EXPECT_EQ(text("boostedLoudnessValue"), QStringLiteral("-20.0 dB"));
    EXPECT_EQ(text("loudnessVerdict"), QStringLiteral("Kicsit halk (-4.0 dB)"));
    QSignalSpy applied(sheet, &AudioSettingsSheet::applyRequested);

    auto* boost = child<QSlider>("volumeBoostSlider");
    boost->setFocus();
    // Page steps of 25 % from the keyboard, as a user would move it.
    for (int i = 0; i < 4; ++i)
        QTest::keyClick(boost, Qt::Key_PageUp);
    EXPECT_EQ(boost->value(), 200);
    EXPECT_DOUBLE_EQ(editor.volumeBoost(), 200.0);
    EXPECT_EQ(text("volumeBoostValue"), QStringLiteral("200%"));
    EXPECT_EQ(text("originalLoudnessValue"), QStringLiteral("-20.0 dB"));
    EXPECT_EQ(text("boostedLoudnessValue"), QStringLiteral("-14.0 dB"));
    EXPECT_NEAR(*editor.boostedLoudnessDB() - -20.0, 6.02, 0.01);
    EXPECT_EQ(text("loudnessVerdict"), QStringLiteral("Jó! YouTube szint (+2.0 dB)"));
    EXPECT_EQ(child<QLabel>("loudnessVerdict")->palette().color(QPalette::WindowText),
              editor.youtubeLoudnessInfo().color);
    EXPECT_EQ(applied.count(), 0);
}

TEST_F(AudioSettingsSheetTest, BoostSliderSpansTwentyFiveToOneThousandPercent)
{
    auto* boost = child<QSlider>("volumeBoostSlider");
    boost->setValue(boost->minimum());
    EXPECT_DOUBLE_EQ(editor.volumeBoost(), 25.0);
    boost->setValue(boost->maximum());
    EXPECT_DOUBLE_EQ(editor.volumeBoost(), 1000.0);
    EXPECT_EQ(text("volumeBoostValue"), QStringLiteral("1000%"));
}

TEST_F(AudioSettingsSheetTest, SilenceSlidersMoveInHalfSecondsFromZeroToTen)
{
    auto* start = child<QSlider>("startSilenceSlider");
    auto* end = child<QSlider>("endSilenceSlider");
    start->setValue(start->minimum());
    EXPECT_DOUBLE_EQ(editor.startSilenceDuration(), 0.0);
    start->setValue(start->minimum() + start->singleStep());
    EXPECT_DOUBLE_EQ(editor.startSilenceDuration(), 0.5);
    EXPECT_EQ(text("startSilenceValue"), QStringLiteral("0.5 mp"));
    end->setValue(end->maximum());
    EXPECT_DOUBLE_EQ(editor.endSilenceDuration(), 10.0);
    EXPECT_EQ(text("endSilenceValue"), QStringLiteral("10.0 mp"));
}

TEST_F(AudioSettingsSheetTest, FadeSliderShowsKiAtZeroAndMovesInTenths)
{
    auto* fade = child<QSlider>("transitionSlider");
    fade->setValue(0);
    EXPECT_DOUBLE_EQ(editor.transitionDuration(), 0.0);
    EXPECT_EQ(text("transitionValue"), QStringLiteral("Ki"));
    fade->setValue(fade->singleStep());
    EXPECT_DOUBLE_EQ(editor.transitionDuration(), 0.1);
    EXPECT_EQ(text("transitionValue"), QStringLiteral("0.1 mp"));
    fade->setValue(fade->maximum());
    EXPECT_DOUBLE_EQ(editor.transitionDuration(), 3.0);
    EXPECT_EQ(text("transitionValue"), QStringLiteral("3.0 mp"));
}

TEST_F(AudioSettingsSheetTest, AlkalmazWithUnchangedSettingsStillRequestsTheReloadAndCloses)
{
    QSignalSpy applied(sheet, &AudioSettingsSheet::applyRequested);
    QTest::mouseClick(child<QPushButton>("applyButton"), Qt::LeftButton);
    EXPECT_EQ(applied.count(), 1);
    EXPECT_FALSE(sheet->isVisible());
    EXPECT_EQ(sheet->result(), QDialog::Accepted);
    EXPECT_FALSE(editor.showAudioSettings());
}

TEST_F(AudioSettingsSheetTest, MegseClosesWithoutReloadingAndSliderChangesStay)
{
    QSignalSpy applied(sheet, &AudioSettingsSheet::applyRequested);
    child<QSlider>("startSilenceSlider")->setValue(8);
    EXPECT_DOUBLE_EQ(editor.startSilenceDuration(), 4.0);
    QTest::mouseClick(child<QPushButton>("cancelButton"), Qt::LeftButton);
    EXPECT_EQ(applied.count(), 0);
    EXPECT_FALSE(sheet->isVisible());
    EXPECT_FALSE(editor.showAudioSettings());
    EXPECT_DOUBLE_EQ(editor.startSilenceDuration(), 4.0);
}

TEST_F(AudioSettingsSheetTest, CloseButtonDismissesWithoutReloading)
{
    QSignalSpy applied(sheet, &AudioSettingsSheet::applyRequested);
    QTest::mouseClick(child<QToolButton>("closeButton"), Qt::LeftButton);
    EXPECT_EQ(applied.count(), 0);
    EXPECT_FALSE(sheet->isVisible());
    EXPECT_FALSE(editor.showAudioSettings());
}

TEST_F(AudioSettingsSheetTest, FollowsSettingsChangedElsewhere)
{
    editor.setEndSilenceDuration(2.5);
    EXPECT_EQ(child<QSlider>("endSilenceSlider")->value(), 5);
    EXPECT_EQ(text("endSilenceValue"), QStringLiteral("2.5 mp"));
}

TEST_F(AudioSettingsSheetTest, WithNoAudioTheLoudnessRowsShowDashesAndNormalisingIsDisabled)
{
    const QStringList texts = allTexts();
    EXPECT_TRUE(texts.contains(QStringLiteral("Integrált hangosság:")));
    EXPECT_TRUE(texts.contains(QStringLiteral("Valódi csúcs:")));
    EXPECT_FALSE(editor.integratedLoudnessLUFS().has_value());
    EXPECT_FALSE(editor.truePeakDBTP().has_value());
    EXPECT_EQ(text("integratedLoudnessValue"), QStringLiteral("–"));
    EXPECT_EQ(text("truePeakValue"), QStringLiteral("–"));
    EXPECT_FALSE(shown("truePeakWarning"));
    auto* normalise = child<QPushButton>("normaliseButton");
    EXPECT_EQ(normalise->text(), QStringLiteral("Normalizálás -14 LUFS-re"));
    EXPECT_FALSE(normalise->isEnabled());
}

TEST_F(AudioSettingsSheetTest, WhileTheMeterWorksTheRowsSaySoAndNormalisingWaits)
{
    editor.setIsMeasuringLoudness(true);
    EXPECT_EQ(text("integratedLoudnessValue"), QStringLiteral("mérés…"));
    EXPECT_EQ(text("truePeakValue"), QStringLiteral("mérés…"));
    EXPECT_FALSE(child<QPushButton>("normaliseButton")->isEnabled());

    editor.setIntegratedLoudnessLUFS(-20.0);
    editor.setTruePeakDBTP(-9.0);
    editor.setIsMeasuringLoudness(false);
    EXPECT_EQ(text("integratedLoudnessValue"), QStringLiteral("-20.0 LUFS → -20.0 LUFS"));
    EXPECT_EQ(text("truePeakValue"), QStringLiteral("-9.0 dBTP"));
    EXPECT_TRUE(child<QPushButton>("normaliseButton")->isEnabled());
}

TEST_F(AudioSettingsSheetTest, IntegratedLoudnessAndTruePeakFollowTheBoostSlider)
{
    editor.setIntegratedLoudnessLUFS(-20.0);
    editor.setTruePeakDBTP(-9.0);
    EXPECT_EQ(text("integratedLoudnessValue"), QStringLiteral("-20.0 LUFS → -20.0 LUFS"));
    EXPECT_EQ(text("truePeakValue"), QStringLiteral("-9.0 dBTP"));
    EXPECT_FALSE(shown("truePeakWarning"));

    auto* boost = child<QSlider>("volumeBoostSlider");
    boost->setFocus();
    for (int i = 0; i < 4; ++i)
        QTest::keyClick(boost, Qt::Key_PageUp);
    EXPECT_DOUBLE_EQ(editor.volumeBoost(), 200.0);
    EXPECT_EQ(text("integratedLoudnessValue"), QStringLiteral("-20.0 LUFS → -14.0 LUFS"));
    EXPECT_EQ(text("truePeakValue"), QStringLiteral("-3.0 dBTP"));
    EXPECT_FALSE(shown("truePeakWarning"));
    EXPECT_NE(child<QLabel>("truePeakValue")->palette().color(QPalette::WindowText), LoudnessColors::red());
}

TEST_F(AudioSettingsSheetTest, BoostedTruePeakAboveMinusOneDBTPIsRedWithTheDistortionWarning)
{
    editor.setIntegratedLoudnessLUFS(-16.0);
    editor.setTruePeakDBTP(-3.0);
    EXPECT_FALSE(shown("truePeakWarning"));
    // +6 dB takes the peak to +3.0 dBTP.
    editor.setVolumeBoost(200.0);
    EXPECT_EQ(text("truePeakValue"), QStringLiteral("3.0 dBTP"));
    EXPECT_TRUE(shown("truePeakWarning"));
    EXPECT_EQ(text("truePeakWarning"), QStringLiteral("Torzítás veszélye!"));
    EXPECT_EQ(child<QLabel>("truePeakValue")->palette().color(QPalette::WindowText), LoudnessColors::red());
    EXPECT_EQ(child<QLabel>("truePeakWarning")->palette().color(QPalette::WindowText), LoudnessColors::red());
    // Exactly at the ceiling is still safe.
    editor.setVolumeBoost(100.0);
    editor.setTruePeakDBTP(-1.0);
    EXPECT_EQ(text("truePeakValue"), QStringLiteral("-1.0 dBTP"));
    EXPECT_FALSE(shown("truePeakWarning"));
}

TEST_F(AudioSettingsSheetTest, NormaliseButtonSetsTheBoostWithoutApplying)
{
    QSignalSpy applied(sheet, &AudioSettingsSheet::applyRequested);
    editor.setIntegratedLoudnessLUFS(-26.0);
    editor.setTruePeakDBTP(-20.0);
    auto* normalise = child<QPushButton>("normaliseButton");
    ASSERT_TRUE(normalise->isEnabled());
    QTest::mouseClick(normalise, Qt::LeftButton);
    EXPECT_DOUBLE_EQ(editor.volumeBoost(), 398.0);
    EXPECT_EQ(child<QSlider>("volumeBoostSlider")->value(), 398);
    EXPECT_EQ(text("volumeBoostValue"), QStringLiteral("398%"));
    EXPECT_EQ(text("integratedLoudnessValue"), QStringLiteral("-26.0 LUFS → -14.0 LUFS"));
    EXPECT_EQ(applied.count(), 0);
    EXPECT_TRUE(sheet->isVisible());

    // A loud peak limits it: -1 dBTP leaves +5 dB.
    editor.setTruePeakDBTP(-6.0);
    QTest::mouseClick(normalise, Qt::LeftButton);
    EXPECT_DOUBLE_EQ(editor.volumeBoost(), 177.0);
    EXPECT_FALSE(shown("truePeakWarning"));
}
