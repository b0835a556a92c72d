#include "app/CommandLine.h"

namespace {

CommandLineOptions invalid(const QString& reason)
{
    CommandLineOptions options;
    options.mode = CommandLineMode::invalid;
    options.error = reason;
    return options;
}

} // namespace

CommandLineOptions parseCommandLine(const QStringList& arguments)
{
    CommandLineOptions options;
    if (arguments.isEmpty())
        return options;

    const QString& first = arguments.front();
    if (first == QStringLiteral("--help") || first == QStringLiteral("-h")) {
        options.mode = CommandLineMode::help;
        return arguments.size() == 1 ? options : invalid(QStringLiteral("a --help után nem állhat más"));
    }
    if (first == QStringLiteral("--version")) {
        options.mode = CommandLineMode::version;
        return arguments.size() == 1 ? options : invalid(QStringLiteral("a --version után nem állhat más"));
    }
    if (first == QStringLiteral("--demo")) {
        if (arguments.size() != 2 || arguments[1].startsWith(QStringLiteral("--")))
            return invalid(QStringLiteral("a --demo után egy mappa kell: vornik --demo MAPPA"));
        options.mode = CommandLineMode::demo;
        options.demoDirectory = arguments[1];
        return options;
    }
    if (first == QStringLiteral("--export")) {
        QStringList positional;
        for (int i = 1; i < arguments.size(); ++i) {
            const QString& argument = arguments[i];
            if (argument == QStringLiteral("--fps")) {
                if (i + 1 >= arguments.size())
                    return invalid(QStringLiteral("a --fps után 24, 30 vagy 60 kell"));
                const QString value = arguments[++i];
                if (value != QStringLiteral("24") && value != QStringLiteral("30") &&
                    value != QStringLiteral("60"))
                    return invalid(QStringLiteral("érvénytelen képkockasebesség: %1 (24, 30 vagy 60 lehet)")
                                           .arg(value));
                options.exportFps = value.toInt();
            } else if (argument == QStringLiteral("--resolution")) {
                if (i + 1 >= arguments.size())
                    return invalid(QStringLiteral("a --resolution után 1080p vagy 4K kell"));
                const QString value = arguments[++i];
                options.exportResolution = exportResolutionFromRawValue(value);
                if (!options.exportResolution)
                    return invalid(
                            QStringLiteral("érvénytelen felbontás: %1 (1080p vagy 4K lehet)").arg(value));
            } else if (argument.startsWith(QStringLiteral("--"))) {
                return invalid(QStringLiteral("ismeretlen kapcsoló: %1").arg(argument));
            } else {
                positional << argument;
            }
        }
        if (positional.size() != 2)
            return invalid(QStringLiteral("az --export után egy projektfájl és egy kimeneti videó kell: "
                                          "vornik --export PROJEKT.vnk KIMENET [--fps 24|30|60] "
                                          "[--resolution 1080p|4K]"));
        options.mode = CommandLineMode::exportVideo;
        options.projectPath = positional[0];
        options.outputPath = positional[1];
        return options;
    }
    if (first.startsWith(QLatin1Char('-')))
        return invalid(QStringLiteral("ismeretlen kapcsoló: %1 (súgó: vornik --help)").arg(first));
    if (arguments.size() > 1)
        return invalid(QStringLiteral("egyszerre egy projektfájl nyitható meg"));
    options.projectPath = first;
    return options;
}

QString commandLineHelp()
{
    return QStringLiteral(
            "Vornik – kottából és felvételből videó\n"
            "\n"
            "Használat:\n"
            "  vornik                      megnyitja az ablakot az automatikusan mentett projekttel\n"
            "  vornik PROJEKT.vnk          megnyitja az ablakot a megadott projekttel\n"
            "  vornik --export PROJEKT.vnk KIMENET [--fps 24|30|60] [--resolution 1080p|4K]\n"
            "                              ablak nélkül videót készít a projektből (alapértelmezés: 30 "
            "fps,\n"
            "                              a felbontás a projektfájl szerint, annak híján 1080p);\n"
            "                              a tároló mindig QuickTime (H.264 kép, AAC hang)\n"
            "  vornik --demo MAPPA         bemutató projektet ír a mappába, és kiírja a projektfájl "
            "útvonalát\n"
            "  vornik --version            kiírja a verziószámot\n"
            "  vornik --help               kiírja ezt a súgót\n"
            "\n"
            "Az --export kilépési kódjai:\n"
            "  0  a videó és a hangja elkészült\n"
            "  2  a videó elkészült, de a hangot nem sikerült hozzáadni\n"
            "  1  bármilyen más hiba (az oka a hibakimeneten olvasható)\n");
}
