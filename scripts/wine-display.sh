# Sourced by the Windows scripts: a display for Wine's windows, and windows that need no
# window manager.
#   start_display       when DISPLAY is unset, starts Xvfb on a free display and exports
#                       DISPLAY; the server stops with the calling shell (stop_display).
#   unmanaged_windows   makes the current Wine prefix draw its windows' frames itself: with
#                       no window manager on the display, a managed window takes two seconds
#                       to close while Wine waits for a manager that never answers.
start_display() {
  if [ -n "${DISPLAY:-}" ]; then return; fi
  command -v Xvfb >/dev/null || { echo "Xvfb is missing (package xvfb)" >&2; return 1; }
  local n=91
  while [ -e "/tmp/.X$n-lock" ] || [ -e "/tmp/.X11-unix/X$n" ]; do n=$((n + 1)); done
  Xvfb ":$n" -screen 0 1024x768x24 -nolisten tcp >/dev/null 2>&1 &
  QUELIS_XVFB_PID=$!
  export DISPLAY=":$n"
  for _ in $(seq 50); do [ -e "/tmp/.X11-unix/X$n" ] && return; sleep 0.1; done
  echo "Xvfb did not start on :$n" >&2
  return 1
}

stop_display() {
  if [ -n "${QUELIS_XVFB_PID:-}" ]; then kill "$QUELIS_XVFB_PID" 2>/dev/null || true; fi
}

unmanaged_windows() {
  wine reg add 'HKCU\Software\Wine\X11 Driver' /v Managed /d N /f >/dev/null 2>&1
}
