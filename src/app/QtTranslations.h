// Qt's own texts in Hungarian: the file chooser, the colour dialog, standard buttons and the
// context menus of text fields. Loads Qt's translation catalogue at start-up. Main thread.
#pragma once

class QCoreApplication;

// Installs Qt's Hungarian catalogue (qtbase_hu) from Qt's translations folder; the translator
// belongs to `application`. Returns false (and the texts stay English) when it is not there.
bool installQtTranslations(QCoreApplication& application);
