#!/usr/bin/env bash
# Plays the installer's completion sound into a PulseAudio server of its own whose only sink
# writes what it plays into a pipe, and checks from that recording that something was heard.
set -euo pipefail
test_binary=$1
work=$(mktemp -d)
cleanup() {
    kill "${server:-}" "${reader:-}" 2>/dev/null || true
    wait 2>/dev/null || true
    rm -rf "$work"
}
trap cleanup EXIT

export PULSE_SERVER="unix:$work/native" PULSE_RUNTIME_PATH="$work/runtime" HOME="$work"
mkdir -p "$PULSE_RUNTIME_PATH"
pulseaudio -n --daemonize=no --exit-idle-time=-1 --log-target=stderr --log-level=error \
    --load="module-pipe-sink file=$work/sink format=s16le rate=44100 channels=2 sink_name=velmora_sink" \
    --load="module-native-protocol-unix socket=$work/native auth-anonymous=1" 2>"$work/pulse.log" &
server=$!
for _ in $(seq 1 100); do
    [[ -p "$work/sink" ]] && pactl info >/dev/null 2>&1 && break
    sleep 0.05
done
cat "$work/sink" >"$work/heard.raw" &
reader=$!
pactl set-default-sink velmora_sink
RV_PULSE_TEST=1 "$test_binary" --gtest_filter='Playback.*'
kill "$server"
wait "$server" 2>/dev/null || true
peak=$(sox -t raw -r 44100 -e signed -b 16 -c 2 "$work/heard.raw" -n stat 2>&1 | awk '/Maximum amplitude/ {print $3}')
echo "recorded peak amplitude: ${peak:-none}"
awk -v p="${peak:-0}" 'BEGIN { exit !(p > 0.05) }' || { echo "the completion sound was not heard" >&2; exit 1; }
