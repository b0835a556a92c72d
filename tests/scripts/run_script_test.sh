#!/usr/bin/env bash
# scripts/run with a temporary home: the first run (no autosave yet) opens the demo project;
# once an autosave exists, every run opens the window the way `vornik` does (autoload), and
# the autosave is left exactly as it was. No display is needed: the script prints the command
# it would start. Arguments: the built program, scripts/run.
set -euo pipefail
vornik=$1
run_script=$2

home=$(mktemp -d)
trap 'rm -rf "$home"' EXIT
failures=0
check() {
    local what=$1 expected=$2 actual=$3
    if [ "$expected" = "$actual" ]; then
        echo "ok: $what"
    else
        echo "FAILED: $what: expected '$expected', got '$actual'"
        failures=$((failures + 1))
    fi
}

run() {
    env -u XDG_DATA_HOME -u WAYLAND_DISPLAY HOME="$home" DISPLAY=:vornik-test VORNIK_RUN_EXECUTABLE="$vornik" \
        VORNIK_RUN_PRINT=1 "$run_script" "$@"
}

data="$home/.local/share/Vornik"

# First run: the demo is written and opened.
check "first run opens the demo" "$vornik $data/demo/demo.vnk" "$(run)"
check "the demo project was written" yes "$([ -f "$data/demo/demo.vnk" ] && echo yes || echo no)"

# Without an autosave (the demo was never edited), the demo opens again.
check "without an autosave the demo opens again" "$vornik $data/demo/demo.vnk" "$(run)"

# Once the window has autosaved, the autosave opens and stays as it was.
printf '{"user": "work"}\n' >"$data/autosave.vnk"
before=$(sha256sum <"$data/autosave.vnk")
check "with an autosave the window autoloads" "$vornik" "$(run)"
check "the autosave is untouched" "$before" "$(sha256sum <"$data/autosave.vnk")"

# Arguments go to the program as they are.
check "arguments are passed on" "$vornik --version" "$(run --version)"

# XDG_DATA_HOME moves the data folder, as it does for the program.
other=$(mktemp -d)
mkdir -p "$other/Vornik"
printf '{}\n' >"$other/Vornik/autosave.vnk"
check "the autosave is looked for under XDG_DATA_HOME" "$vornik" \
    "$(env XDG_DATA_HOME="$other" HOME="$home" DISPLAY=:vornik-test VORNIK_RUN_EXECUTABLE="$vornik" \
        VORNIK_RUN_PRINT=1 "$run_script")"
rm -rf "$other"

[ "$failures" -eq 0 ]
