// Rebuilding the page list of a project file from the files it names: image files are read
// again, PDF pages rendered again and pairs joined again, as the page import does. Reads
// files; main thread (QtPdf documents are used where they are opened).
#pragma once

#include "model/ImageItem.h"
#include "project/ProjectFormat.h"

#include <vector>

// One entry per page that could be read, in file order, each with a fresh id; an entry whose
// file, document or page cannot be read is left out.
std::vector<ImageItem> rebuildProjectPages(const std::vector<ImagePathInfo>& paths);
