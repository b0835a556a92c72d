// How the editor is given players: a function that makes the player of a processed
// recording. Kept apart from AudioPlayer.h so that the editor's header needs neither the
// player nor the sample buffer to name it.
#pragma once

#include <functional>
#include <memory>

class AudioPlayer;
struct AudioBuffer;

// Makes the player for a processed recording; called on the main thread. Returns null
// when no player can be made.
using AudioPlayerFactory = std::function<std::unique_ptr<AudioPlayer>(std::shared_ptr<const AudioBuffer>)>;
