#!/usr/bin/env bash
# rejected.sh MUTANT PLUGIN COMMAND...: succeeds when the command passes with the plugin and finds
# the mutant wanting; an argument PLUGIN stands for whichever is looked at. Dying of anything else,
# such as a library that cannot be loaded, does not count.
set -euo pipefail
mutant="$1" plugin="$2"
shift 2

if ! output="$(VEL_PLUGIN="$plugin" "${@/#PLUGIN/$plugin}" 2>&1)" ||
  [[ $output == *"Running 0 tests"* || $output == *"SKIPPED"* ]]; then
  printf '%s\nthe plugin itself does not pass\n' "$output"
  exit 1
fi
if output="$(VEL_PLUGIN="$mutant" "${@/#PLUGIN/$mutant}" 2>&1)"; then
  printf '%s\nthe mutant went unnoticed\n' "$output"
  exit 1
fi
printf '%s\n' "$output" | tail -n 15
grep -qE 'Failure$|: failed$|^simulated host: |^fuzz: ' <<<"$output"
