# Sourced by what runs Windows programs: Wine without a display, in a prefix of its own. Set $work to
# the folder that holds the prefix first.

export WINEPREFIX=$work/prefix WINEDEBUG=-all
export WINEDLLOVERRIDES="mscoree,mshtml,winemenubuilder.exe,winedbg.exe="
unset LC_ALL DISPLAY

# in_wine PROGRAM ARGUMENT...: for at most $limit seconds, a minute unless told.
in_wine() { timeout "${limit:-60}" wine "$@" 2>/dev/null; }

need() {
  command -v "$1" >/dev/null || { echo "NOT RUN: this needs $1 (package $2)"; exit 1; }
}
need wine wine

# Programs take code page 936 from this locale.
if ! locale -a 2>/dev/null | grep -qi '^zh_CN\.utf-\?8$'; then
  localedef -i zh_CN -f UTF-8 zh_CN.UTF-8 2>/dev/null ||
    echo "NOT RUN: code page 936 (the locale zh_CN.UTF-8 is missing and cannot be made)"
fi
export LANG=en_US.UTF-8 LC_CTYPE=zh_CN.UTF-8

# Makes the prefix, once, and starts Wine in it: no window needs a display.
prepare_prefix() {
  if [ ! -f "$WINEPREFIX/ready" ]; then
    echo "== Preparing a Wine prefix"
    rm -rf "$WINEPREFIX" && mkdir -p "$work"
    timeout 120 wineboot -i >/dev/null 2>&1 || { echo "FAILED: wineboot"; exit 1; }
    in_wine reg add 'HKCU\Software\Wine\Drivers' /v Graphics /d null /f >/dev/null
    timeout 30 wineserver -k
    touch "$WINEPREFIX/ready"
  fi
  timeout 20 wineserver -p600 2>/dev/null
}

end_wine() { timeout 20 wineserver -k 2>/dev/null; }
