# shellcheck shell=bash
# Launch helpers for the applications the tests read, on the virtual desktop of scripts/desktop.
#
#   source scripts/apps.sh
#   trap stop_apps EXIT
#   start_gtk3_factory | start_gtk4_factory | start_qt_controls PATH
#   start_firefox URL | start_chromium URL
#
# Each start_* returns once the application's window is mapped and active and the application is
# on the AT-SPI registry with a frame (a browser: once the page's document is loaded and
# showing). It sets APP_PID and APP_WINDOW, records the process for stop_apps, prints how long
# each stage took on stderr, and fails after TARNVIK_APP_TIMEOUT seconds (default 60).

TARNVIK_APP_PIDS=()
TARNVIK_APP_DIRS=()
# Debian's Python, which has pyatspi; a python3 earlier on PATH (pyenv, a venv) may not.
_apps_python=/usr/bin/python3

_apps_fail() {
    echo "apps.sh: $*" >&2
    [[ -f "${_apps_log:-}" ]] && tail -n 20 "$_apps_log" >&2
    return 1
}

_apps_elapsed() {
    echo "$1" | awk -v now="$EPOCHREALTIME" '{ printf "%.2fs", now - $1 }'
}

# Polls the AT-SPI registry until the process's application is there: MODE app waits for a
# frame, MODE document also for a showing, loaded web document.
_apps_wait_atspi() {
    "$_apps_python" - "$@" <<'EOF'
import sys
import time

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi  # noqa: E402

pid, mode, deadline = int(sys.argv[1]), sys.argv[2], time.monotonic() + float(sys.argv[3])
S = Atspi.StateType


def application():
    desktop = Atspi.get_desktop(0)
    for i in range(desktop.get_child_count()):
        app = desktop.get_child_at_index(i)
        if app is not None and app.get_process_id() == pid:
            return app


def document(node):
    """The first showing web document, looked for through showing elements only."""
    if node.get_role() == Atspi.Role.DOCUMENT_WEB:
        return node
    for i in range(node.get_child_count()):
        child = node.get_child_at_index(i)
        if child is not None and child.get_state_set().contains(S.SHOWING):
            found = document(child)
            if found is not None:
                return found


def ready():
    app = application()
    if app is None or app.get_child_count() == 0:
        return False
    if mode == "app":
        return True
    for i in range(app.get_child_count()):
        frame = app.get_child_at_index(i)
        doc = frame and document(frame)
        if doc is not None and doc.get_child_count() > 0 \
                and not doc.get_state_set().contains(S.BUSY) and placed(doc) \
                and any(placed(doc.get_child_at_index(j))
                        for j in range(min(doc.get_child_count(), 5))):
            return True
    return False


def placed(element):
    """Firefox answers -1 extents for a while after loading a page, until its layout is known."""
    return element is not None and element.get_extents(Atspi.CoordType.SCREEN).width > 0


while time.monotonic() < deadline:
    try:
        if ready():
            sys.exit(0)
    except Exception:  # an element that went away while being read: try again
        pass
    time.sleep(0.1)
sys.exit(1)
EOF
}

# _apps_launch NAME MODE COMMAND...: starts COMMAND and waits for its window and its tree.
_apps_launch() {
    local name=$1 mode=$2 start=$EPOCHREALTIME timeout=${TARNVIK_APP_TIMEOUT:-60}
    shift 2
    local deadline=$((SECONDS + timeout))
    [[ -n "${DISPLAY:-}" ]] || _apps_fail "no DISPLAY: run inside scripts/desktop" || return
    _apps_log=$(mktemp "/tmp/tarnvik-$name.XXXXXX.log")
    TARNVIK_APP_DIRS+=("$_apps_log")
    "$@" >"$_apps_log" 2>&1 &
    APP_PID=$!
    TARNVIK_APP_PIDS+=("$APP_PID")

    APP_WINDOW=
    until APP_WINDOW=$(xdotool search --onlyvisible --pid "$APP_PID" 2>/dev/null | head -n1) &&
        [[ -n "$APP_WINDOW" ]]; do
        kill -0 "$APP_PID" 2>/dev/null || _apps_fail "$name exited before showing a window" ||
            return
        ((SECONDS < deadline)) || _apps_fail "$name showed no window in ${timeout}s" || return
        sleep 0.1
    done
    local window_time
    window_time=$(_apps_elapsed "$start")
    # The frontmost window is the one a walk of "the active window" reads.
    xdotool windowactivate "$APP_WINDOW" 2>/dev/null || true

    _apps_wait_atspi "$APP_PID" "$mode" $((deadline - SECONDS)) ||
        _apps_fail "$name did not appear on the AT-SPI registry in ${timeout}s" || return
    echo "apps.sh: $name pid $APP_PID: window $window_time, on AT-SPI ($mode)" \
        "$(_apps_elapsed "$start")" >&2
}

start_gtk3_factory() { _apps_launch gtk3-widget-factory app gtk3-widget-factory; }

# GTK 4 draws nothing under Xvfb with its GL renderer.
start_gtk4_factory() {
    GSK_RENDERER=cairo _apps_launch gtk4-widget-factory app gtk4-widget-factory
}

start_qt_controls() {
    [[ -x "${1:-}" ]] || _apps_fail "usage: start_qt_controls PATH-TO-tarnvik-qt-controls" || return
    _apps_launch qt-controls app "$1"
}

# A fresh profile that skips first-run pages and stays off the network.
start_firefox() {
    local profile
    profile=$(mktemp -d /tmp/tarnvik-firefox.XXXXXX)
    TARNVIK_APP_DIRS+=("$profile")
    cat >"$profile/user.js" <<'EOF'
user_pref("browser.shell.checkDefaultBrowser", false);
user_pref("browser.aboutwelcome.enabled", false);
user_pref("browser.startup.homepage_override.mstone", "ignore");
user_pref("browser.sessionstore.resume_from_crash", false);
user_pref("datareporting.policy.dataSubmissionEnabled", false);
user_pref("toolkit.telemetry.reportingpolicy.firstRun", false);
user_pref("app.update.auto", false);
user_pref("app.normandy.enabled", false);
user_pref("extensions.update.enabled", false);
user_pref("browser.safebrowsing.malware.enabled", false);
user_pref("browser.safebrowsing.phishing.enabled", false);
user_pref("network.captive-portal-service.enabled", false);
user_pref("network.connectivity-service.enabled", false);
EOF
    _apps_launch firefox document firefox-esr -no-remote -profile "$profile" \
        -width 1920 -height 1080 "$1"
}

start_chromium() {
    local profile
    profile=$(mktemp -d /tmp/tarnvik-chromium.XXXXXX)
    TARNVIK_APP_DIRS+=("$profile")
    # As root Chromium runs only without its sandbox; Xvfb has no GPU.
    _apps_launch chromium document chromium --no-sandbox --disable-gpu --no-first-run \
        --disable-background-networking --disable-component-update --disable-sync \
        --force-renderer-accessibility --password-store=basic --window-position=0,0 \
        --window-size=1920,1080 --user-data-dir="$profile" "$1"
}

# The process and everything below it.
_apps_tree() {
    local child
    echo "$1"
    for child in $(ps -o pid= --ppid "$1" 2>/dev/null); do
        _apps_tree "$child"
    done
}

# Whether any of the processes still runs (a zombie does not).
_apps_running() {
    ps -o stat= -p "$(IFS=,; echo "$*")" 2>/dev/null | grep -qv '^Z'
}

# Ends every application started here, with their helper processes, and removes their
# profiles and logs.
stop_apps() {
    local pid pids=()
    for pid in "${TARNVIK_APP_PIDS[@]}"; do
        mapfile -t -O "${#pids[@]}" pids < <(_apps_tree "$pid")
    done
    if ((${#pids[@]})); then
        kill -TERM "${pids[@]}" 2>/dev/null || true
        for _ in $(seq 50); do
            _apps_running "${pids[@]}" || break
            sleep 0.1
        done
        kill -KILL "${pids[@]}" 2>/dev/null || true
        wait "${TARNVIK_APP_PIDS[@]}" 2>/dev/null || true
    fi
    if ((${#TARNVIK_APP_DIRS[@]})); then
        rm -rf "${TARNVIK_APP_DIRS[@]}"
    fi
    TARNVIK_APP_PIDS=()
    TARNVIK_APP_DIRS=()
}
