#!/bin/sh
# wine.sh start|stop        begins or ends the Wine server of $WINEPREFIX, making the prefix at first use
# wine.sh PROGRAM [ARG...]  runs a Windows program in that prefix
# wine.sh captured PROGRAM [ARG...]
#                           the same, and prints what it wrote when it has ended
#
# The prefix is this project's own. Nobody else's prefix, display or desktop entries are touched.
: "${WINEPREFIX:?set WINEPREFIX to the folder of the prefix}"
export WINEPREFIX WINEARCH=win64 WINEDEBUG="${WINEDEBUG:--all}" LC_ALL=C.UTF-8 TZ="${TZ:-UTC0}"
# Without winedbg a crash ends the program with the exception's code; with it, it could end with 0.
export WINEDLLOVERRIDES="winedbg.exe,winemenubuilder.exe=d"
unset DISPLAY WAYLAND_DISPLAY

# Wine's services inherit the streams of the first program and would keep a pipe open for ever.
quiet() { "$@" </dev/null >/dev/null 2>&1; }

start() {
    if [ ! -f "$WINEPREFIX/.ready" ]; then
        mkdir -p "$WINEPREFIX" || return 1
        # No offer to install Mono or Gecko while the prefix is made.
        WINEDLLOVERRIDES="$WINEDLLOVERRIDES;mscoree,mshtml=" quiet wineboot -i || return 1
        # The null driver gives windows without a display. It is read when the server starts.
        quiet wine reg add 'HKCU\Software\Wine\Drivers' /v Graphics /t REG_SZ /d null /f || return 1
        quiet wineserver -k
        quiet wineserver -w
        touch "$WINEPREFIX/.ready"
    fi
    quiet wineserver -p
    quiet wine cmd /c exit
}

case "$1" in
start) start ;;
stop)
    quiet wineserver -k
    quiet wineserver -w
    ;;
captured)
    # Wine's processes inherit the error stream. One that outlives a killed program would keep the
    # pipe of whoever waits for the output open.
    shift
    output=$(mktemp) || exit 1
    wine "$@" </dev/null >"$output" 2>&1
    code=$?
    cat "$output"
    rm -f "$output"
    exit $code
    ;;
*) exec wine "$@" ;;
esac
