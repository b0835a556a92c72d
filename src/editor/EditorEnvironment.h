// What the editor object is given from outside: the dialogs, how to make an audio player,
// and the folders it writes to. The window, the command line and the tests each pass their own.
#pragma once

#include "audio/AudioPlayerFactory.h"
#include "support/FaultHook.h"

#include <QString>

class Dialogs;

struct EditorEnvironment {
    // Alerts, questions and file choosers. Must outlive the editor.
    Dialogs* dialogs = nullptr;
    // Makes the player of a loaded recording.
    AudioPlayerFactory audioPlayerFactory;
    // Where rendered audio files are written; empty means QDir::tempPath().
    QString temporaryDirectory;
    // The program's per-user data folder holding the autosave; empty means the
    // platform's per-user data location + "/Vornik".
    QString dataDirectory;
    // Handed to every background job it starts; tests make jobs fail through it.
    FaultHook faultHook;
};
