// Reading a project file from disk into its values, with the size bounds checked before the
// bytes are held: a file far larger than any project (or a device that never ends) is refused
// without being read. Any thread.
#pragma once

#include "project/ProjectFormat.h"

#include <QString>

#include <optional>

struct ProjectFileRead {
    std::optional<ProjectJSON> project;
    // When there is no project: why. A file that cannot be opened counts as malformed.
    ProjectDecodeFailure failure = ProjectDecodeFailure::malformed;
    QString error;
};

ProjectFileRead readProjectFile(const QString& path);

// The load log line for a project refused as too large.
QString projectTooLargeLogLine(const ProjectFileRead& read);
