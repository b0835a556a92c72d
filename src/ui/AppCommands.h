// The ten menu commands of the window: one QAction each, with its title and shortcut, placed
// in the "Fájl", "Lejátszás" and "Képek" menus; "Kilépés" ends the "Fájl" menu. An action never calls the
// editor: it emits the signal named after the command, and ContentView turns that into the editor call. Main
// thread only; the actions are children of this object.
#pragma once

#include <QObject>

class QAction;
class QMenuBar;

class AppCommands : public QObject {
    Q_OBJECT

public:
    explicit AppCommands(QObject* parent = nullptr);

    // Adds the three menus, in their order, to `menuBar`.
    void populateMenuBar(QMenuBar* menuBar) const;

    // The ten command actions in the order they are declared in the menus.
    QList<QAction*> actions() const;
    // "Kilépés" (Ctrl+Q), the last item of "Fájl": it asks the window to close, which quits.
    QAction* quitAction() const { return m_quit; }

signals:
    void newProject();
    void saveProject();
    void saveProjectAs();
    void loadProject();
    void openSettings();
    void showAbout();
    void togglePlayback();
    void deleteAllImages();
    void deletePortraitImages();
    void deleteLandscapeImages();
    void quit();

private:
    QAction* makeAction(const QString& objectName, const QString& title, const QKeySequence& shortcut,
                        void (AppCommands::*signal)());

    QAction* m_newProject;
    QAction* m_saveProject;
    QAction* m_saveProjectAs;
    QAction* m_loadProject;
    QAction* m_openSettings;
    QAction* m_showAbout;
    QAction* m_togglePlayback;
    QAction* m_deleteAllImages;
    QAction* m_deletePortraitImages;
    QAction* m_deleteLandscapeImages;
    QAction* m_quit;
};
