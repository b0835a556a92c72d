// The editor operations behind the settings and about menu items.
#include "editor/VideoEditorViewModel.h"
#include "support/Dialogs.h"
#include "support/Log.h"

void VideoEditorViewModel::openSettings()
{
    // Deliberately inert: the audio settings open from their own button.
    logLine(QStringLiteral("[Settings] Beállítások megnyitása..."));
}

void VideoEditorViewModel::showAbout()
{
    if (!m_environment.dialogs)
        return;
    m_environment.dialogs->alert(AlertStyle::informational, QStringLiteral("Vornik"),
                                 QStringLiteral("Verzió 1.0\n\nKotta videó készítő alkalmazás\n"
                                                "Készítette a Vornik fejlesztője, 2026"));
}
