#include "app/QtTranslations.h"

#include "support/Log.h"

#include <QCoreApplication>
#include <QLibraryInfo>
#include <QLocale>
#include <QTranslator>

bool installQtTranslations(QCoreApplication& application)
{
    auto* translator = new QTranslator(&application);
    const QString folder = QLibraryInfo::path(QLibraryInfo::TranslationsPath);
    if (!translator->load(QLocale(QLocale::Hungarian, QLocale::Hungary), QStringLiteral("qtbase"),
                          QStringLiteral("_"), folder)) {
        logLine(QStringLiteral("[App] Qt magyar fordítása nem található: ") + folder);
        delete translator;
        return false;
    }
    QCoreApplication::installTranslator(translator);
    return true;
}
