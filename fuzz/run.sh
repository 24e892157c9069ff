#!/usr/bin/env bash
# Runs every fuzz target for a short smoke time and reports its executions.
set -euo pipefail
dir=$1
seconds=${2:-15}
here=$(cd "$(dirname "$0")" && pwd)
status=0
for target in arguments version plist openstep format resourcefork procstat richtext waveheader mountinfo manifest; do
    corpus=$(mktemp -d)
    cp -r "$here/corpus/$target/." "$corpus/" 2>/dev/null || true
    # Inputs that once crashed a target are replayed by all of them.
    cp "$here"/regressions/* "$corpus/" 2>/dev/null || true
    log=$(mktemp)
    if "$dir/fuzz_$target" -max_total_time="$seconds" -print_final_stats=1 "$corpus" >"$log" 2>&1; then
        execs=$(grep -m1 'stat::number_of_executed_units' "$log" | awk '{print $2}')
        echo "fuzz_$target: ${execs:-?} executions in ${seconds}s, no failure"
    else
        echo "fuzz_$target: FAILED"; tail -40 "$log"; status=1
    fi
    rm -rf "$corpus" "$log"
done
exit $status
