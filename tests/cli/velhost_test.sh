#!/usr/bin/env bash
# velhost_test.sh GROUP VELHOST SAMPLE: one group of cases, in a folder of its own that goes away.
set -u
group="$1" velhost="$(realpath "$2")" sample="$(realpath "$3")"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
cd "$work" || exit 1
cp "$sample" sample.png
head -c 5000 sample.png >cut.png
{ head -c 3000 sample.png; printf X; tail -c +3002 sample.png; } >damaged.png
echo "not a picture" >text.png

failures=0
fail() { echo "FAILED: $*"; failures=$((failures + 1)); }

# expect STATUS ARGS...: runs velhost; its output, both streams, is left in $output.
expect() {
  local wanted="$1" status=0
  shift
  output="$("$velhost" "$@" 2>&1)" || status=$?
  [ "$status" = "$wanted" ] || fail "status $status instead of $wanted: velhost $*: $output"
}
says() { grep -q -- "$1" <<<"$output" || fail "no '$1' in: $output"; }
same() { cmp -s "$1" "$2" || fail "$1 and $2 differ${3:+: $3}"; }

errors() {
  local -r before=(*)
  # What the one line must say, then the arguments.
  while IFS='|' read -r pattern arguments; do
    eval "expect 2 $arguments"
    says "$pattern"
    [ "$(wc -l <<<"$output")" = 1 ] || fail "more than one line: $output"
  done <<'CASES'
no picture given|
no method given|sample.png
nope.png: No such file.*PNG, JPEG or BMP|nope.png -m Rotate90Vel -o out.png
is a folder|. -m Rotate90Vel -o out.png
text.png is no picture|text.png -m Rotate90Vel -o out.png
cut off or damaged|cut.png -m Rotate90Vel -o out.png
cut off or damaged|damaged.png -m Rotate90Vel -o out.png
no method TurnVel.*Rotate90Vel|sample.png -m TurnVel -o out.png
declared as RotateVel(angle as double|sample.png -m RotateVel -o out.png
declared as RotateVel(angle as double|sample.png -m "RotateVel(1, 2, 3)" -o out.png
declared as CloneVel|sample.png -m "CloneVel(1.5, 2)" -o out.png
"x" is neither a number nor a colour|sample.png -m "RotateVel(x)" -o out.png
parenthesis|sample.png -m "RotateVel(30" -o out.png
use .png, .jpg or .bmp|sample.png -m MirrorVel -o out.gif
folder nodir is missing|sample.png -m MirrorVel -o nodir/out.png
need a folder|sample.png sample.png -m MirrorVel -o out.png
give console, web, cairo or gdk|sample.png -m MirrorVel --host mac -o out.png
such as 2011.04|sample.png -m MirrorVel --host-version new -o out.png
no plugin .*nope.so|sample.png -m MirrorVel --plugin nope.so -o out.png
--kernels|sample.png -m MirrorVel --kernels abacus -o out.png
not expected: --bogus|sample.png -m MirrorVel --bogus -o out.png
CASES
  local -r after=(*)
  [ "${before[*]}" = "${after[*]}" ] || fail "files were written: ${after[*]}"
}

results() {
  expect 0 sample.png -m BitmapVel -o plain.png --stats
  says '14 methods registered'
  says 'with alpha channel'
  says 'host calls'
  says 'references and locks left: none'
  expect 0 sample.png -m Rotate90Vel -m Rotate90Vel -m Rotate180Vel -o turned.png
  same plain.png turned.png
  expect 0 sample.png -m HMirrorPictureVel -o mirrored.png
  cmp -s plain.png mirrored.png && fail "an in-place change was lost"
  expect 0 mirrored.png -m hmirrorpicturevel -o back.png
  same plain.png back.png
  expect 0 sample.png -m "RotateVel(30)" -o default.png
  expect 0 sample.png -m "RotateVel( 30 , &cFFFFFFFF )" -o given.png
  same default.png given.png
  expect 0 sample.png -m "CloneVel(100, 50)" -m "RotateMemoryVel(30)"
  says 'RotateMemoryVel(30): 153048'
  says 'nothing written'
  expect 0 sample.png -m BitmapVel --host-version 2011.03 -o flat.bmp
  says 'shown on white'
  expect 0 flat.bmp -m Rotate90Vel -m Rotate270Vel -o flat2.bmp
  same flat.bmp flat2.bmp
  expect 0 sample.png -m MirrorVel --log
  says 'call  REALLockPictureDescription(picture#1'
  expect 0 --list
  [ "$(grep -c 'Vel.* as ' <<<"$output")" = 14 ] || fail "--list: $output"
  expect 0 --test-card -o card.png
  same card.png sample.png "the sample is no longer the test card"
}

replacement() {
  echo precious >out.png
  cp out.png precious
  expect 2 cut.png -m MirrorVel -o out.png
  expect 1 sample.png -m "CloneVel(0, 5)" -o out.png
  says 'returned no picture'
  says 'references and locks left: none'
  # A full disk, as far as one can be had: the file may not grow beyond a few blocks.
  output="$( (trap '' XFSZ; ulimit -f 4; "$velhost" sample.png -m MirrorVel -o out.png) 2>&1)" &&
    fail "a file too large was written"
  says 'out.png cannot be written: File too large'
  same out.png precious
  ln -s out.png link.png
  expect 0 sample.png -m BitmapVel -o link.png
  [ -L link.png ] || fail "the link was replaced"
  expect 0 out.png -m BitmapVel
  compgen -G '*png.*' && fail "temporary files are left"
}

batch() {
  cp sample.png other.png
  expect 1 sample.png cut.png other.png -m Rotate90Vel -o finished/
  says '^2 of 3 pictures written to finished/$'
  says '^failed: cut.png is cut off'
  grep -q $'\r' <<<"$output" && fail "a progress bar in a pipe"
  [ "$(cd finished && echo *)" = "other.png sample.png" ] || fail "in the folder: $(ls finished)"
  mkdir copies && cp sample.png copies/
  expect 2 sample.png copies/sample.png -m MirrorVel -o new/
  says 'would both become new/sample.png'
  expect 2 sample.png other.png -m MirrorVel -o .
  says 'would replace an input'
  same sample.png other.png
  [ ! -e new ] || fail "a folder was made"
}

hosts() {
  expect 0 sample.png -m BitmapVel --host gdk -o flat.png
  for host in console web cairo gdk; do
    for picture in sample flat; do
      expect 0 "$picture.png" -m BitmapVel --host "$host" -o plain.png
      expect 0 "$picture.png" -m Rotate90Vel -m HMirrorVel -m Rotate90Vel -m HMirrorVel \
        --host "$host" -o turned.png
      says 'references and locks left: none'
      same plain.png turned.png "$picture, $host"
    done
  done
  # A Cairo of the system's own cannot be taken away.
  if ! /sbin/ldconfig -p | grep -q 'libcairo\.so\.2 (libc6)'; then
    LD_LIBRARY_PATH='' expect 2 sample.png -m MirrorVel --host cairo
    says 'libcairo.so.2.*cannot open'
  fi
  DISPLAY='' expect 2 sample.png -m MirrorVel --host gdk
  says 'no X display'
}

"$group"
[ "$failures" = 0 ]
