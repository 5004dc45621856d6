#!/usr/bin/env bash
# Runs a Windows program under Wine in the project's own prefix (build/win32/wineprefix),
# creating the prefix on first use: 32-bit, null graphics driver (no display needed),
# audio drivers off, and no debugger on a crash (the program ends with a failure). Several runs may start at once; the first one builds the prefix.
set -eu
here=$(cd "$(dirname "$0")/.." && pwd)
export WINEPREFIX=${MK_WINEPREFIX:-$here/build/win32/wineprefix}
export WINEARCH=win32
export WINEDEBUG=${WINEDEBUG:--all}
export WINEDLLOVERRIDES="winealsa.drv=d;winepulse.drv=d;mscoree=d;mshtml=d;winedbg.exe=d"
unset DISPLAY WAYLAND_DISPLAY

mkdir -p "$(dirname "$WINEPREFIX")"
(
    flock 9
    if [ ! -f "$WINEPREFIX/.mediakit-ready" ]; then
        rm -rf "$WINEPREFIX"
        wineboot -i >/dev/null 2>&1
        wine reg add 'HKCU\Software\Wine\Drivers' /v Graphics /d null /f >/dev/null 2>&1
        wineserver -w
        touch "$WINEPREFIX/.mediakit-ready"
    fi
) 9>"$WINEPREFIX.lock"

# A wineserver that exits when idle can race a program starting at that moment ("recvmsg:
# Connection reset by peer"). Keep one running for a minute after the last program instead;
# when one is already up this does nothing.
wineserver -p60 >/dev/null 2>&1 </dev/null || true
# The first program of a server starts Wine's own services, which live as long as the server
# and inherit that program's output: started by a test, they would hold its pipe open for
# the minute above. Start them here, without our output (a tenth of a second once they run).
wine cmd /c exit >/dev/null 2>&1 </dev/null || true

exec wine "$@"
