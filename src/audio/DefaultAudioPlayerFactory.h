// The player the application uses: sound through the default output device when the
// system has one, otherwise the silent clock (said once in the log). Main thread.
#pragma once

#include "audio/AudioPlayer.h"

AudioPlayerFactory defaultAudioPlayerFactory();
