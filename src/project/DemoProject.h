// The demo project: a short score drawn by Vornik itself (one PDF of four pages with
// staves, clefs, bar lines and notes), a recording synthesised to match it, and a project
// file in which every page is assigned to its stretch of the recording, as if the pages had
// been turned with the page buttons. Gives a new user something to look at at once and the
// tests a realistic project. Any thread.
#pragma once

#include <QString>

#include <optional>

struct DemoProject {
    QString projectPath;   // DIR/demo.vnk
    QString scorePath;     // DIR/demo_kotta.pdf
    QString recordingPath; // DIR/demo_felvetel.wav
};

inline constexpr int kDemoPageCount = 4;
inline constexpr int kDemoNotesPerPage = 16;
inline constexpr double kDemoSecondsPerNote = 0.5;
inline constexpr double kDemoSecondsPerPage = kDemoNotesPerPage * kDemoSecondsPerNote;
inline constexpr int kDemoSampleRate = 44100;

// Writes the three files into `directory` (created if needed), replacing earlier ones.
std::optional<DemoProject> writeDemoProject(const QString& directory, QString* error = nullptr);
