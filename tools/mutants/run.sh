#!/bin/bash
# The mutation check: applies each mutant of tools/mutants/mutants.txt to its file in src/, one at
# a time, rebuilds build/mutants incrementally, runs the whole suite until its first failure, and
# restores the file. A mutant is killed when a test fails or hangs, survives when the suite
# passes, and is counted apart when it does not compile.
#
#   tools/mutants/run.sh                    every mutant
#   MUTANTS=id1,id2 tools/mutants/run.sh    those mutants only
#
# The report goes to the terminal and to build/mutants/report.txt; each mutant's build and test
# output to build/mutants/logs/<id>.log.
set -u

cd "$(dirname "$0")/../.."
LIST=tools/mutants/mutants.txt
TOOL="perl tools/mutants/mutants.pl $LIST"
BUILD=build/mutants
REPORT=$BUILD/report.txt
LOGS=$BUILD/logs
TEST_TIMEOUT=${MUTANTS_TEST_TIMEOUT:-60}

die() { echo "mutants: $*" >&2; exit 2; }

git diff --quiet -- src/ || die "src/ has uncommitted changes; the check restores src/ to its committed state and needs it clean"
$TOOL check || die "fix the list: every mutant's original text must occur exactly once in its file"

if [ -n "${MUTANTS:-}" ]; then
  IFS=, read -r -a ids <<< "$MUTANTS"
  for id in "${ids[@]}"; do $TOOL file "$id" > /dev/null || exit 2; done
else
  mapfile -t ids < <($TOOL list)
fi

# Restores the file of the mutant being run from its saved copy; also on Ctrl-C and on errors.
mutated_file=""
restore() {
  [ -n "$mutated_file" ] || return 0
  cp "$BUILD/original" "$mutated_file" && cmp -s "$BUILD/original" "$mutated_file" ||
    echo "mutants: could not restore $mutated_file from $BUILD/original" >&2
  mutated_file=""
}
trap 'restore; exit 130' INT TERM
trap restore EXIT

mkdir -p "$LOGS"
: > "$REPORT"
report() { echo "$*" | tee -a "$REPORT"; }

cmake --preset mutants > "$LOGS/configure.log" 2>&1 || die "configure failed, see $LOGS/configure.log"
start=$SECONDS

# The unchanged code must build and pass, or no mutant says anything.
echo "Building and testing the unchanged code (log in $LOGS/baseline.log)"
{ cmake --build "$BUILD" -j2 && ctest --test-dir "$BUILD" -j2 --timeout "$TEST_TIMEOUT"; } \
  > "$LOGS/baseline.log" 2>&1 || die "the unchanged code does not build or pass, see $LOGS/baseline.log"
tests=$(grep -oE '[0-9]+ tests failed out of [0-9]+|tests passed, 0 tests failed out of [0-9]+' \
          "$LOGS/baseline.log" | grep -oE '[0-9]+$' | tail -1)
report "Mutation check of src/ with ${#ids[@]} mutants; the suite has ${tests:-?} tests" \
       "($((SECONDS - start)) s for the unchanged build and suite)"

# The first test ctest reports as failed or timed out in a log, or the ctest error line.
first_failure() {
  local line
  line=$(grep -m1 -E 'Test +#[0-9]+: .*\*\*\*' "$1")
  if [ -n "$line" ]; then
    echo "$line" | sed -E 's/.*Test +#[0-9]+: ([^ ]+) .*\*\*\*([A-Za-z]+).*/\1 (\2)/'
  else
    echo "ctest failed without a failing test, see the log"
  fi
}

killed=0; survived=0; broken=0
survivors=(); not_compiled=()
for id in "${ids[@]}"; do
  file=$($TOOL file "$id")
  log=$LOGS/$id.log
  began=$SECONDS
  cp "$file" "$BUILD/original" || die "cannot save $file"
  mutated_file=$file
  $TOOL apply "$id" || die "cannot apply $id"
  if ! cmake --build "$BUILD" -j2 > "$log" 2>&1; then
    verdict="did not compile"
    broken=$((broken + 1)); not_compiled+=("$id")
  elif ctest --test-dir "$BUILD" -j2 --stop-on-failure --timeout "$TEST_TIMEOUT" >> "$log" 2>&1; then
    verdict="SURVIVED"
    survived=$((survived + 1)); survivors+=("$id")
  else
    verdict="killed by $(first_failure "$log")"
    killed=$((killed + 1))
  fi
  restore
  report "$(printf '%-40s %-42s %4d s  %s' "$id" "$file" $((SECONDS - began)) "$verdict")"
done

git diff --quiet -- src/ || die "src/ differs from its committed state after the run"

compiled=$((killed + survived))
score=$(awk -v k=$killed -v c=$compiled 'BEGIN { if (c) printf "%.1f%%", 100 * k / c; else print "n/a" }')
report ""
report "Mutants: ${#ids[@]}  compiled: $compiled  killed: $killed  survived: $survived  did not compile: $broken"
report "Score (killed / (killed + survived)): $score"
report "Survivors: ${survivors[*]:-none}"
[ $broken -eq 0 ] || report "Did not compile: ${not_compiled[*]}"
report "Wall time: $((SECONDS - start)) s"
