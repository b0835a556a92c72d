#!/usr/bin/env python3
"""scripts/check-layers on small source trees written for each case: every rule it enforces is
reported with the file and line of the offending #include, and a clean tree passes.
Usage: check_layers_test.py [TestCase.test_name ...] (default: every test)."""
import os
import subprocess
import sys
import tempfile
import unittest

SCRIPT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "scripts", "check-layers")

# A tree that keeps every rule: widgets in ui/ and app/, FFmpeg in media/, includes pointing
# down only (app -> ui -> editor -> audio -> media -> support).
CLEAN_TREE = {
    "app/main.cpp": '#include "ui/Window.h"\n#include <QApplication>\n',
    "ui/Window.h": '#include "editor/Editor.h"\n#include <QWidget>\n',
    "editor/Editor.h": '#include "audio/Decoder.h"\n#include <QObject>\n',
    "audio/Decoder.cpp": '#include "media/Input.h"\n#include "support/Log.h"\n',
    "media/Input.cpp": 'extern "C" {\n#include <libavformat/avformat.h>\n}\n#include "support/Log.h"\n',
    "support/Log.h": "#include <QString>\n",
}


class CheckLayersTest(unittest.TestCase):
    def run_on(self, files):
        with tempfile.TemporaryDirectory() as root:
            src = os.path.join(root, "src")
            for relative, text in files.items():
                path = os.path.join(src, relative)
                os.makedirs(os.path.dirname(path), exist_ok=True)
                with open(path, "w", encoding="utf-8") as out:
                    out.write(text)
            run = subprocess.run([sys.executable, SCRIPT, src], capture_output=True, text=True)
            return run.returncode, run.stdout

    def assert_reported(self, files, expected_line):
        code, output = self.run_on({**CLEAN_TREE, **files})
        self.assertEqual(code, 1, output)
        self.assertIn(expected_line, output.splitlines(), output)

    def test_clean_tree_passes(self):
        code, output = self.run_on(CLEAN_TREE)
        self.assertEqual(code, 0, output)
        for rule in ("widgets", "ffmpeg", "upward", "ui-app", "cycle"):
            self.assertIn(f"check-layers: {rule}: ok", output)

    def test_widgets_header_outside_ui_and_app_is_reported(self):
        self.assert_reported({"render/Painter.cpp": "#include <QImage>\n\n#include <QLabel>\n"},
                             "src/render/Painter.cpp:3: widgets: includes the QtWidgets header "
                             "<QLabel> outside ui/ and app/")

    def test_ffmpeg_header_outside_its_folders_is_reported(self):
        self.assert_reported({"project/Probe.cpp": "#include <libavcodec/avcodec.h>\n"},
                             "src/project/Probe.cpp:1: ffmpeg: includes the FFmpeg header "
                             "<libavcodec/avcodec.h> outside media/")

    def test_ffmpeg_header_in_audio_or_export_is_reported(self):
        self.assert_reported({"audio/Decoder.cpp": '#include "support/Log.h"\n#include <libswresample/swresample.h>\n'},
                             "src/audio/Decoder.cpp:2: ffmpeg: includes the FFmpeg header "
                             "<libswresample/swresample.h> outside media/")
        self.assert_reported({"export/Writer.cpp": "#include <libavformat/avformat.h>\n"},
                             "src/export/Writer.cpp:1: ffmpeg: includes the FFmpeg header "
                             "<libavformat/avformat.h> outside media/")

    def test_core_folder_including_ui_or_app_is_reported(self):
        self.assert_reported({"render/Frame.h": '#pragma once\n#include "ui/Window.h"\n'},
                             'src/render/Frame.h:2: upward: includes "ui/Window.h" from ui/ '
                             "outside ui/ and app/")
        self.assert_reported({"support/Hook.cpp": '#include "app/Shell.h"\n'},
                             'src/support/Hook.cpp:1: upward: includes "app/Shell.h" from app/ '
                             "outside ui/ and app/")

    def test_ui_including_app_is_reported(self):
        self.assert_reported({"ui/Menu.cpp": '#include "ui/Window.h"\n#include "app/Commands.h"\n'},
                             'src/ui/Menu.cpp:2: ui-app: includes "app/Commands.h" from app/')

    def test_folder_cycle_is_reported(self):
        self.assert_reported({"support/Log.h": '#include "render/Colour.h"\n',
                              "render/Colour.h": '#include "support/Log.h"\n'},
                             'src/support/Log.h:1: cycle: support -> render -> support '
                             '(includes "render/Colour.h")')

    def test_longer_folder_cycle_is_reported(self):
        self.assert_reported({"support/Log.h": '#include <QString>\n#include "editor/Editor.h"\n'},
                             'src/support/Log.h:2: cycle: support -> editor -> audio -> support '
                             '(includes "editor/Editor.h")')

    def test_render_including_the_editor_that_includes_it_is_reported(self):
        self.assert_reported({"editor/Rendering.cpp": '#include "render/Frame.h"\n',
                              "render/Frame.h": '#include "editor/Editor.h"\n'},
                             'src/render/Frame.h:1: cycle: render -> editor -> render '
                             '(includes "editor/Editor.h")')

    def test_model_folder_including_the_editor_is_reported(self):
        self.assert_reported({"editor/Editor.h": '#include "model/Frames.h"\n',
                              "model/Frames.h": '#include "editor/Editor.h"\n'},
                             'src/model/Frames.h:1: cycle: model -> editor -> model '
                             '(includes "editor/Editor.h")')

if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], "-v"] + sys.argv[1:])
