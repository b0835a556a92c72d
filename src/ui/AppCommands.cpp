#include "ui/AppCommands.h"

#include <QAction>
#include <QKeySequence>
#include <QMenu>
#include <QMenuBar>

AppCommands::AppCommands(QObject* parent)
    : QObject(parent)
{
    m_newProject = makeAction(QStringLiteral("newProject"), QStringLiteral("Új projekt"),
                              QKeySequence(Qt::CTRL | Qt::Key_N), &AppCommands::newProject);
    m_saveProject = makeAction(QStringLiteral("saveProject"), QStringLiteral("Projekt mentése"),
                               QKeySequence(Qt::CTRL | Qt::Key_S), &AppCommands::saveProject);
    m_saveProjectAs = makeAction(QStringLiteral("saveProjectAs"), QStringLiteral("Mentés más néven..."),
                                 QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_S), &AppCommands::saveProjectAs);
    m_loadProject = makeAction(QStringLiteral("loadProject"), QStringLiteral("Projekt betöltése..."),
                               QKeySequence(Qt::CTRL | Qt::Key_O), &AppCommands::loadProject);
    m_openSettings = makeAction(QStringLiteral("openSettings"), QStringLiteral("Beállítások..."),
                                QKeySequence(Qt::CTRL | Qt::Key_Comma), &AppCommands::openSettings);
    m_showAbout = makeAction(QStringLiteral("showAbout"), QStringLiteral("Névjegy"), QKeySequence(),
                             &AppCommands::showAbout);
    // A plain Space. Text fields still receive it: a line edit claims printable keys through
    // the shortcut-override event before the window's shortcuts are consulted.
    m_togglePlayback = makeAction(QStringLiteral("togglePlayback"), QStringLiteral("Play / Pause"),
                                  QKeySequence(Qt::Key_Space), &AppCommands::togglePlayback);
    // The Delete key of the original keyboard layout is the one left of the backspace
    // position; on PC keyboards that is Backspace.
    m_deleteAllImages =
            makeAction(QStringLiteral("deleteAllImages"), QStringLiteral("Összes kép törlése"),
                       QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Backspace), &AppCommands::deleteAllImages);
    m_deletePortraitImages =
            makeAction(QStringLiteral("deletePortraitImages"), QStringLiteral("Álló képek törlése"),
                       QKeySequence(), &AppCommands::deletePortraitImages);
    m_deleteLandscapeImages =
            makeAction(QStringLiteral("deleteLandscapeImages"), QStringLiteral("Fekvő képek törlése"),
                       QKeySequence(), &AppCommands::deleteLandscapeImages);
    // Keyboards with a separate Delete key may use it too; the menu shows the first shortcut.
    m_deleteAllImages->setShortcuts({QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Backspace),
                                     QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Delete)});
    // Linux has no application menu with its Quit: the file menu carries it, as is usual there.
    m_quit = makeAction(QStringLiteral("quit"), QStringLiteral("Kilépés"), QKeySequence(Qt::CTRL | Qt::Key_Q),
                        &AppCommands::quit);
    m_quit->setMenuRole(QAction::QuitRole);
    m_openSettings->setMenuRole(QAction::PreferencesRole);
    m_showAbout->setMenuRole(QAction::AboutRole);
}

QAction* AppCommands::makeAction(const QString& objectName, const QString& title,
                                 const QKeySequence& shortcut, void (AppCommands::*signal)())
{
    auto* action = new QAction(title, this);
    action->setObjectName(objectName);
    action->setShortcut(shortcut);
    action->setShortcutContext(Qt::WindowShortcut);
    connect(action, &QAction::triggered, this, signal);
    return action;
}

QList<QAction*> AppCommands::actions() const
{
    return {m_newProject,           m_saveProject,     m_saveProjectAs,
            m_loadProject,          m_openSettings,    m_showAbout,
            m_togglePlayback,       m_deleteAllImages, m_deletePortraitImages,
            m_deleteLandscapeImages};
}

void AppCommands::populateMenuBar(QMenuBar* menuBar) const
{
    QMenu* file = menuBar->addMenu(QStringLiteral("Fájl"));
    file->setObjectName(QStringLiteral("fileMenu"));
    file->addAction(m_newProject);
    file->addSeparator();
    file->addAction(m_saveProject);
    file->addAction(m_saveProjectAs);
    file->addAction(m_loadProject);
    file->addSeparator();
    file->addAction(m_openSettings);
    file->addSeparator();
    file->addAction(m_showAbout);
    file->addSeparator();
    file->addAction(m_quit);

    QMenu* playback = menuBar->addMenu(QStringLiteral("Lejátszás"));
    playback->setObjectName(QStringLiteral("playbackMenu"));
    playback->addAction(m_togglePlayback);

    QMenu* pages = menuBar->addMenu(QStringLiteral("Képek"));
    pages->setObjectName(QStringLiteral("imagesMenu"));
    pages->addAction(m_deleteAllImages);
    pages->addSeparator();
    pages->addAction(m_deletePortraitImages);
    pages->addAction(m_deleteLandscapeImages);
}
