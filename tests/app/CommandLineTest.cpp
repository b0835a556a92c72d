#include "app/CommandLine.h"

#include <gtest/gtest.h>

TEST(CommandLine, NoArgumentsOpensTheWindow)
{
    const CommandLineOptions options = parseCommandLine({});
    EXPECT_EQ(options.mode, CommandLineMode::window);
    EXPECT_TRUE(options.projectPath.isEmpty());
}

TEST(CommandLine, AProjectPathOpensTheWindowWithThatProject)
{
    const CommandLineOptions options = parseCommandLine({QStringLiteral("/home/anna/mű.vnk")});
    EXPECT_EQ(options.mode, CommandLineMode::window);
    EXPECT_EQ(options.projectPath, QStringLiteral("/home/anna/mű.vnk"));
}

TEST(CommandLine, ExportTakesProjectOutputAndOptionalFps)
{
    CommandLineOptions options = parseCommandLine(
            {QStringLiteral("--export"), QStringLiteral("p.vnk"), QStringLiteral("out.mov")});
    EXPECT_EQ(options.mode, CommandLineMode::exportVideo);
    EXPECT_EQ(options.projectPath, QStringLiteral("p.vnk"));
    EXPECT_EQ(options.outputPath, QStringLiteral("out.mov"));
    EXPECT_EQ(options.exportFps, 30);

    options = parseCommandLine({QStringLiteral("--export"), QStringLiteral("p.vnk"), QStringLiteral("--fps"),
                                QStringLiteral("60"), QStringLiteral("out.mp4")});
    EXPECT_EQ(options.mode, CommandLineMode::exportVideo);
    EXPECT_EQ(options.exportFps, 60);
    EXPECT_EQ(options.outputPath, QStringLiteral("out.mp4"));
}

TEST(CommandLine, ExportResolutionIsTakenFromTheFileUnlessGiven)
{
    CommandLineOptions options = parseCommandLine(
            {QStringLiteral("--export"), QStringLiteral("p.vnk"), QStringLiteral("out.mov")});
    EXPECT_FALSE(options.exportResolution.has_value());

    options =
            parseCommandLine({QStringLiteral("--export"), QStringLiteral("p.vnk"), QStringLiteral("out.mov"),
                              QStringLiteral("--resolution"), QStringLiteral("4K")});
    EXPECT_EQ(options.mode, CommandLineMode::exportVideo);
    EXPECT_EQ(options.exportResolution, ExportResolution::uhd4K);
    EXPECT_EQ(options.outputPath, QStringLiteral("out.mov"));

    options = parseCommandLine({QStringLiteral("--export"), QStringLiteral("--resolution"),
                                QStringLiteral("1080p"), QStringLiteral("p.vnk"), QStringLiteral("out.mov"),
                                QStringLiteral("--fps"), QStringLiteral("24")});
    EXPECT_EQ(options.mode, CommandLineMode::exportVideo);
    EXPECT_EQ(options.exportResolution, ExportResolution::hd1080);
    EXPECT_EQ(options.exportFps, 24);
}

TEST(CommandLine, ExportRefusesOtherResolutions)
{
    for (const QStringList& arguments :
         {QStringList{QStringLiteral("--export"), QStringLiteral("p.vnk"), QStringLiteral("o.mov"),
                      QStringLiteral("--resolution"), QStringLiteral("720p")},
          QStringList{QStringLiteral("--export"), QStringLiteral("p.vnk"), QStringLiteral("o.mov"),
                      QStringLiteral("--resolution"), QStringLiteral("4k")},
          QStringList{QStringLiteral("--export"), QStringLiteral("p.vnk"), QStringLiteral("o.mov"),
                      QStringLiteral("--resolution")}}) {
        const CommandLineOptions options = parseCommandLine(arguments);
        EXPECT_EQ(options.mode, CommandLineMode::invalid) << arguments.join(QLatin1Char(' ')).toStdString();
        EXPECT_FALSE(options.error.isEmpty());
    }
}

TEST(CommandLine, ExportRefusesOtherRatesAndMissingArguments)
{
    for (const QStringList& arguments :
         {QStringList{QStringLiteral("--export"), QStringLiteral("p.vnk"), QStringLiteral("o.mov"),
                      QStringLiteral("--fps"), QStringLiteral("25")},
          QStringList{QStringLiteral("--export"), QStringLiteral("p.vnk"), QStringLiteral("o.mov"),
                      QStringLiteral("--fps")},
          QStringList{QStringLiteral("--export"), QStringLiteral("p.vnk")},
          QStringList{QStringLiteral("--export"), QStringLiteral("p.vnk"), QStringLiteral("o.mov"),
                      QStringLiteral("x")},
          QStringList{QStringLiteral("--export"), QStringLiteral("p.vnk"), QStringLiteral("o.mov"),
                      QStringLiteral("--quality")}}) {
        const CommandLineOptions options = parseCommandLine(arguments);
        EXPECT_EQ(options.mode, CommandLineMode::invalid) << arguments.join(QLatin1Char(' ')).toStdString();
        EXPECT_FALSE(options.error.isEmpty());
    }
}

TEST(CommandLine, DemoVersionAndHelp)
{
    const CommandLineOptions demo = parseCommandLine({QStringLiteral("--demo"), QStringLiteral("/tmp/d")});
    EXPECT_EQ(demo.mode, CommandLineMode::demo);
    EXPECT_EQ(demo.demoDirectory, QStringLiteral("/tmp/d"));
    EXPECT_EQ(parseCommandLine({QStringLiteral("--demo")}).mode, CommandLineMode::invalid);
    EXPECT_EQ(parseCommandLine({QStringLiteral("--version")}).mode, CommandLineMode::version);
    EXPECT_EQ(parseCommandLine({QStringLiteral("--help")}).mode, CommandLineMode::help);
    EXPECT_EQ(parseCommandLine({QStringLiteral("-h")}).mode, CommandLineMode::help);
}

TEST(CommandLine, UnknownOptionsAndSeveralProjectsAreRefused)
{
    EXPECT_EQ(parseCommandLine({QStringLiteral("--fast")}).mode, CommandLineMode::invalid);
    EXPECT_EQ(parseCommandLine({QStringLiteral("a.vnk"), QStringLiteral("b.vnk")}).mode,
              CommandLineMode::invalid);
}

TEST(CommandLine, HelpIsHungarianAndNamesEveryMode)
{
    const QString help = commandLineHelp();
    EXPECT_TRUE(help.contains(QStringLiteral("Használat:")));
    for (const QString& mode :
         {QStringLiteral("--export PROJEKT.vnk KIMENET [--fps 24|30|60] [--resolution 1080p|4K]"),
          QStringLiteral("--demo MAPPA"), QStringLiteral("--version"), QStringLiteral("vornik PROJEKT.vnk")})
        EXPECT_TRUE(help.contains(mode)) << mode.toStdString();
}
