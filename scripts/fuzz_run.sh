#!/usr/bin/env bash
# Runs every fuzz target of build-fuzz/ for FUZZ_SECONDS each, FUZZ_JOBS at a
# time, at a low priority (the machine is shared).  Target fuzz_<name> starts
# from fuzz/corpus-<name>/ (filled by scripts/fuzz_corpus.py, kept between
# runs, so the runs add up) with its dictionary fuzz/<name>.dict.  Findings are
# written to fuzz/ as crash-*, leak-*, timeout-* or oom-*; the logs to
# build-fuzz/logs/.  Prints, per target, the seconds, the executions and the
# findings of this run.
set -u
cd "$(dirname "$0")/.."

SECONDS_EACH=${FUZZ_SECONDS:-60}
JOBS=${FUZZ_JOBS:-2}
NICE=${FUZZ_NICE:-10}
TARGETS=${FUZZ_TARGETS:-$(cd fuzz && ls fuzz_*.cpp | sed 's/\.cpp$//')}
LOGS=build-fuzz/logs
mkdir -p "$LOGS"

/usr/bin/python3 scripts/fuzz_corpus.py . || exit 1

run_one() {
    local target=$1 name=${1#fuzz_} max_len=65536 rss=2048
    [ "$name" = color_unit ] && max_len=256
    # A drawing's budget keeps it far below 512 MB, whatever the input.
    [ "$name" = svg ] && rss=512
    mkdir -p "fuzz/corpus-$name"
    local dict=()
    [ -f "fuzz/$name.dict" ] && dict=(-dict="fuzz/$name.dict")
    # Memory per input is bounded by the input: a single allocation of 512 MB
    # is a finding, as is an input that takes more than 10 s.
    nice -n "$NICE" "build-fuzz/$target" "fuzz/corpus-$name" "${dict[@]}" \
        -max_total_time="$SECONDS_EACH" -max_len="$max_len" -timeout=10 \
        -rss_limit_mb="$rss" -malloc_limit_mb=512 -artifact_prefix=fuzz/ \
        -print_final_stats=1 > "$LOGS/$target.log" 2>&1
    echo "$?" > "$LOGS/$target.rc"
}
export -f run_one
export SECONDS_EACH NICE LOGS

printf '%s\n' $TARGETS | xargs -P "$JOBS" -I{} bash -c 'run_one {}'

status=0
printf '%-16s %8s %12s  %s\n' target seconds executions result
for target in $TARGETS; do
    log="$LOGS/$target.log"
    runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -1)
    time=$(sed -n 's/^Done [0-9]* runs in \([0-9]*\) second.*/\1/p' "$log" | tail -1)
    result=clean
    if [ "$(cat "$LOGS/$target.rc")" != 0 ]; then
        result="FINDING: $(grep -m1 -E '^==[0-9]+==ERROR|^SUMMARY|ALARM|out-of-memory|Test unit written to' "$log")"
        status=1
    fi
    printf '%-16s %8s %12s  %s\n' "$target" "${time:-?}" "${runs:-?}" "$result"
done
exit $status
