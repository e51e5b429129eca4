#!/usr/bin/env bash
# Sets up, builds and runs every test.
#
#   ./test.sh [PRESET...]     release when none is named; asan for the sanitizers
#
# Extra arguments for the test runner stand in CTEST_ARGS, for example
# CTEST_ARGS="-R pages". The last line of the output counts the tests.

. "$(dirname "$0")/scripts/common.sh"

"$source_dir/scripts/setup.sh" build test

[ $# -gt 0 ] || set -- release

# count FILE ATTRIBUTE: a number from the head of a report.
count() { sed -n "s/^.*<testsuite .*\b$2=\"\([0-9]*\)\".*$/\1/p; s/^[[:space:]]*$2=\"\([0-9]*\)\".*$/\1/p" "$1" | head -n 1; }

passed=0 failed=0 skipped=0
for preset in "$@"; do
    configure_and_build "$preset"
    report=$build_dir/tests.xml
    rm -f "$report"
    # shellcheck disable=SC2086
    ctest --test-dir "$build_dir" --output-on-failure -j "$(nproc)" \
        --output-junit "$report" ${CTEST_ARGS:-} || true
    [ -s "$report" ] || fail "the tests of preset $preset did not run"
    all=$(count "$report" tests) bad=$(count "$report" failures)
    off=$(($(count "$report" disabled) + $(count "$report" skipped)))
    passed=$((passed + all - bad - off)) failed=$((failed + bad)) skipped=$((skipped + off))
done

[ $((passed + failed)) -gt 0 ] || failed=1
if [ "$skipped" -gt 0 ]; then
    echo "$passed passed, $failed failed, $skipped skipped"
else
    echo "$passed passed, $failed failed"
fi
[ "$failed" -eq 0 ]
