// The player the application uses: sound through the default output device when the
// system has one, otherwise the silent clock (said once in the log). Main thread.
#pragma once

#include "audio/AudioPlayer.h"

#include <QAudioDevice>

#include <functional>

AudioPlayerFactory defaultAudioPlayerFactory();

// Players that only keep time, for runs without a sound device: the command-line export,
// the fuzzer and the benchmarks.
AudioPlayerFactory clockAudioPlayerFactory();

// The same choice with the output device given by `outputDevice`, asked on every new player
// (a null device means none).
AudioPlayerFactory audioPlayerFactoryFor(std::function<QAudioDevice()> outputDevice);
