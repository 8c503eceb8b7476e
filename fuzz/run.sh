#!/usr/bin/env bash
# Runs the fuzzers on all cores, keeps what they found, prints a table; `./dev fuzz [TARGET...] [MINUTES]` calls it with
# the fuzzers built. MINUTES are for each target.
#
#   build/fuzz/live/NAME   all inputs that did something new, from run to run
#   fuzz/corpus/NAME.hex   the fewest of them that cover as much, run by the tests
#   fuzz/failed/NAME.hex   every input that ever failed, as small as it gets, run by the tests
#   fuzz/totals.txt        executions and findings of all runs
set -euo pipefail
cd "$(dirname "$0")/.."

folder=build/fuzz
cores=$(nproc)
timeout_s=3     # an input that takes longer hangs
memory_mb=1024  # the sanitizer's own included
allocation_mb=256
totals=fuzz/totals.txt

# Longer inputs find nothing that shorter ones do not, and take longer.
longest() {
    case $1 in
    scenario) echo 2048 ;;
    frame_reader | hex_text | project_rows | sonar_records) echo 1024 ;;
    terminal_keys) echo 64 ;;
    tree_operations | key_values) echo 256 ;;
    *) echo 512 ;;
    esac
}

export ASAN_OPTIONS="malloc_context_size=6:quarantine_size_mb=16:detect_odr_violation=0:${ASAN_OPTIONS:-}"
export UBSAN_OPTIONS="print_stacktrace=1:${UBSAN_OPTIONS:-}"
# What targets put into files is gone with them and need not reach a disk.
if [ -z "${TMPDIR:-}" ] && [ -w /dev/shm ]; then
    export TMPDIR=/dev/shm
fi

# coverage NAME FOLDER: edges that the folder's inputs reach
coverage() {
    "$folder/bin/fuzz_$1" -runs=0 -max_len="$(longest "$1")" "$2" 2>&1 |
        sed -n 's/.*INITED cov: \([0-9]*\).*/\1/p' | tail -1
}

# work NAME NUMBER END: one process until the time END; one that failed is started again
work() {
    local round=0 child=
    trap 'kill "$child" 2>/dev/null; exit 1' TERM
    while [ "$(date +%s)" -lt "$3" ] && [ "$round" -lt 20 ]; do
        round=$((round + 1))
        "$folder/bin/fuzz_$1" -max_total_time=$(($3 - $(date +%s))) -timeout=$timeout_s -rss_limit_mb=$memory_mb \
            -malloc_limit_mb=$allocation_mb -max_len="$(longest "$1")" -reload=1 -print_final_stats=1 \
            -artifact_prefix="$folder/found/$1/" "$folder/live/$1" >"$folder/logs/$1.$2.$round" 2>&1 &
        child=$!
        wait "$child" || true
    done
}

# keep NAME: makes of each finding a small input that the tests run; says how many
keep() {
    local count=0 finding small title
    for finding in "$folder/found/$1"/*; do
        [ -f "$finding" ] || continue
        small=$finding
        title="$(basename "$finding" | cut -d- -f1), found $(date -u +%F)"
        if [[ $(basename "$finding") == crash-* ]]; then
            "$folder/bin/fuzz_$1" -minimize_crash=1 -max_total_time=20 -timeout=$timeout_s \
                -exact_artifact_path="$folder/small" "$finding" >"$folder/logs/$1.minimise" 2>&1 || true
            [ -s "$folder/small" ] && small=$folder/small
        fi
        mkdir -p fuzz/failed
        "$folder/bin/fuzz_inputs" add "fuzz/failed/$1.hex" "$small" "$title"
        mkdir -p "$folder/kept/$1"
        mv "$finding" "$folder/kept/$1/"
        rm -f "$folder/small"
        count=$((count + 1))
    done
    echo "$count"
}

# count NAME EXECUTIONS FINDINGS: adds to the totals
count() {
    touch "$totals"
    awk -v name="$1" -v executions="$2" -v findings="$3" '
        /^#/ { next }
        $1 == name { $2 += executions; $3 += findings; seen = 1 }
        { all[$1] = $2 " " $3 }
        END {
            if (!seen) all[name] = executions " " findings
            print "# target, executions of all runs, findings"
            for (one in all) print one, all[one] | "sort"
        }' "$totals" >"$totals.new"
    mv "$totals.new" "$totals"
}

minutes=1
targets=()
for argument in "$@"; do
    if [[ $argument =~ ^[0-9]+$ ]]; then
        minutes=$argument
    elif [ -x "$folder/bin/fuzz_$argument" ]; then
        targets+=("$argument")
    else
        echo "dev fuzz: there is no target '$argument'" >&2
        exit 2
    fi
done
if [ ${#targets[@]} -eq 0 ]; then
    mapfile -t targets < <(sed -n 's/^add_fuzzer(\([a-z_]*\).*/\1/p' fuzz/CMakeLists.txt)
fi

# Whoever ends this ends what it started.
trap 'kill $(jobs -p) 2>/dev/null; exit 130' INT TERM

found_any=0
printf '%-16s %12s %10s %10s %10s %9s %14s %9s\n' target executions 'a second' 'cov start' 'cov end' findings 'in all' findings
for target in "${targets[@]}"; do
    rm -rf "$folder/start" "$folder/merged" "$folder/logs/$target".* "$folder/found/$target"
    mkdir -p "$folder/live/$target" "$folder/found/$target" "$folder/logs" "$folder/merged" fuzz/corpus
    "$folder/bin/fuzz_inputs" unpack "$folder/start" "fuzz/seeds/$target" "fuzz/seeds/$target.hex" \
        "fuzz/corpus/$target.hex" "fuzz/failed/$target.hex"
    cov_start=$(coverage "$target" "$folder/start")
    cp "$folder/start"/* "$folder/live/$target/"

    began=$(date +%s)
    for number in $(seq "$cores"); do
        work "$target" "$number" $((began + minutes * 60)) &
    done
    wait
    seconds=$(($(date +%s) - began))
    executions=$(cat "$folder/logs/$target".*.* | awk '/stat::number_of_executed_units/ { sum += $2 } END { print sum + 0 }')
    findings=$(keep "$target")

    # Once more with counts of edges alone, so that few inputs are left.
    "$folder/bin/fuzz_$target" -merge=1 -use_counters=0 -timeout=$timeout_s -rss_limit_mb=$memory_mb \
        -max_len="$(longest "$target")" "$folder/merged" "$folder/start" "$folder/live/$target" \
        >"$folder/logs/$target.merge" 2>&1 || true
    "$folder/bin/fuzz_inputs" pack "fuzz/corpus/$target.hex" "$folder/merged" \
        "Kept by the fuzzer: as few inputs as cover what all of them did."
    cov_end=$(coverage "$target" "$folder/merged")
    count "$target" "$executions" "$findings"
    read -r _ all_executions all_findings < <(grep "^$target " "$totals")
    printf '%-16s %12d %10d %10d %10d %9d %14d %9d\n' "$target" "$executions" \
        $((executions / (seconds > 0 ? seconds : 1))) "${cov_start:-0}" "${cov_end:-0}" "$findings" \
        "$all_executions" "$all_findings"
    [ "$findings" -eq 0 ] || found_any=1
done
awk '!/^#/ { executions += $2; findings += $3 } END { printf "%-16s %12s %10s %10s %10s %9s %14d %9d\n", "all", "", "", "", "", "", executions, findings }' "$totals"
if [ $found_any -ne 0 ]; then
    echo "Findings were added to fuzz/failed/; ./dev test runs them, $folder/logs/ tells more."
    exit 1
fi
