// Gives the thinnest lines of a page rendered for a 4K export full ink. A staff line of half a
// point is 1.28 pixels thick on a page as tall as a 4K frame; drawn with smooth edges it covers
// two pixel rows in part, and when it straddles them evenly both come out mid-grey (about 92
// of 255) and the staff looks faded. Making the darker of the two pixels the line's dark core
// shows it as a line drawn by hand to the pixel grid would be, while its weight and position
// change by a fraction of a pixel.
//
// The 4K frame is the 1080p frame with detail added: each 2 x 2 block of it averages to the
// 1080p pixel. The page is drawn at even frame coordinates, so a line's two pixels either lie
// in one block, where the core takes its ink from the other pixel and the block's average
// stays, or in two blocks, where the core only darkens, which changes the averages least.
#pragma once

#include <QImage>

// How dark (0 paper, 255 full ink, per colour channel) the core pixel of a thin line is made
// when the line has that much ink in it: a grey of 51.
inline constexpr int kThinLineCoreInk = 204;

// Pixels with no more ink than this are paper: they bound a line.
inline constexpr int kPaperInk = 25;

// In every column and then every row, each run of exactly two inked pixels between paper (or
// the picture's edge) is a line seen across. When its darker pixel holds less than
// kThinLineCoreInk and the two together hold at least that much, the darker pixel is raised to
// kThinLineCoreInk; if the run starts at an even index (one 2 x 2 block) the lighter pixel gives
// up the same amount. Each colour channel on its own. Wider runs (the edges of note heads,
// beams, letters) and fainter ones are left alone. The picture must be opaque; it is converted
// to ARGB32 premultiplied.
void concentrateThinLines(QImage& page);
