# Sourced by the commands of this project: where things lie, and how to speak. Every command runs
# from the top folder of the checkout.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

# What setup unpacks and builds for this checkout alone.
deps="${VEL_DEPS:-$PWD/.deps}"
# Packages of libraries as downloaded; shared by all checkouts of a user.
downloads="${VEL_DOWNLOADS:-${XDG_CACHE_HOME:-${HOME:-/tmp}/.cache}/velpicture}"
preset="${VEL_PRESET:-release}"
build="build/$preset"
# Whose libraries the preset's programs open, as Debian names it and its folders.
case "$preset" in
  stand-in) architecture=amd64 triplet=x86_64-linux-gnu ;;
  *) architecture=i386 triplet=i386-linux-gnu ;;
esac

say() { printf '%s: %s\n' "$(basename "$0")" "$*" >&2; }
die() { say "$@"; exit 1; }

# Runs a command silently; when it fails, shows what it said.
quietly() {
  local log status=0
  log="$(mktemp)"
  "$@" >"$log" 2>&1 </dev/null || status=$?
  [ "$status" = 0 ] || cat "$log" >&2
  rm -f "$log"
  return "$status"
}

# How this machine runs 32-bit programs: itself, or through an emulator. Ask after tools/setup build.
runs_i386_itself() { "$deps/probe_i386" 2>/dev/null; }
runs_i386() {
  local status=0
  "$deps/probe_i386" 2>/dev/null || status=$?
  [ "$status" = 0 ] || [ "$status" = 3 ]
}

# The one place of the version is the CMake project.
project_version() { sed -n 's/^project(VelPicture VERSION \([0-9.]*\) .*/\1/p' CMakeLists.txt; }

# Of pages of documentation: the lines of the blocks of one kind. Blocks of sh are commands in a
# checkout, those of bash commands in the folder of a release.
block() { awk -v kind="$1" '$1 == "```" kind { on = 1; next } $1 == "```" { on = 0 } on' "${@:2}"; }

# Dies when a page refers to a file that is not there.
follow_links() {
  local page link target
  while IFS=: read -r page link; do
    case "$link" in http*) continue ;; esac
    target="${link%%#*}"
    [ -z "$target" ] || [ -e "$(dirname "$page")/$target" ] || die "$page refers to $link: not there"
  done < <(grep -oHE '\]\([^)]+\)' "$@" | sed -E 's/\]\(([^)]*)\)/\1/')
}

# Configures the preset if that was not done yet and builds the given targets (all when none). Says
# so the first time, since that takes a while; counts on a terminal.
build_targets() {
  local targets=() source
  [ $# = 0 ] || targets=(--target "$@")
  # A checkout that was copied or moved would go on building at its old place.
  source="$(sed -n 's/^CMAKE_HOME_DIRECTORY:INTERNAL=//p' "$build/CMakeCache.txt" 2>/dev/null || true)"
  [ -z "$source" ] || [ "$source" = "$PWD" ] || rm -rf "$build"
  [ -f "$build/build.ninja" ] || {
    say "building, this takes some minutes"
    quietly cmake --preset "$preset" || die "configuring failed"
  }
  local counter=/dev/null
  [ ! -t 2 ] || [ "${TERM:-dumb}" = dumb ] || counter=/dev/stderr
  NINJA_STATUS='%f of %t ' quietly counted cmake --build "$build" --parallel 2 "${targets[@]}" \
    3>"$counter" || die "building failed"
}

# Runs a build whose counter is shown through 3 while it goes on.
counted() {
  local line status=0
  "$@" 2>&1 | while IFS= read -r line; do
    echo "$line"
    [[ ! $line =~ ^[0-9]+\ of\ [0-9]+ ]] || printf '\r%s\e[K' "${BASH_REMATCH[0]}" >&3
  done || status=$?
  printf '\r\e[K' >&3
  return "$status"
}
