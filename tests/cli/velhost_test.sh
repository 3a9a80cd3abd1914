#!/usr/bin/env bash
# velhost_test.sh GROUP VELHOST SAMPLE: one group of cases, in a folder of its own that goes away.
set -u
script="$(realpath "$0")" group="$1" velhost="$(realpath "$2")" sample="$(realpath "$3")"
work="$(mktemp -d)" said="$(mktemp)" errors="$(mktemp)"
trap 'rm -rf "$work" "$said" "$errors"' EXIT
cd "$work" || exit 1
export TERM=xterm  # What is drawn must not depend on the terminal that the tests run in.

failures=0
fail() { echo "FAILED: $*"; failures=$((failures + 1)); }

# expect STATUS ARGS...: runs velhost; what it prints is left in $said and $errors.
expect() {
  local wanted="$1" status=0
  shift
  "${within[@]}" "$velhost" "$@" >"$said" 2>"$errors" || status=$?
  [ "$status" = "$wanted" ] || fail "status $status, not $wanted: velhost $*: $(cat "$said" "$errors")"
}
within=()
says() { grep -q -- "$1" "$said" || fail "no '$1' in: $(cat "$said")"; }
complains() {
  [ "$(wc -l <"$errors")" = 1 ] && grep -q -- "$1" "$errors" ||
    fail "not one line with '$1': $(cat "$errors")"
}
same() { cmp -s "$1" "$2" || fail "$1 and $2 differ${3:+: $3}"; }
fits() { ! grep -E '^.{81}|[{]|TEXT' "$said"; }
state() { find . -exec cksum {} + 2>&1 | sort; }

# try <<CASES: a case per line. Its status, what its one line on standard error says (nothing: no
# line), a check of what it did, and the arguments.
try() {
  local status pattern check arguments
  while IFS='|' read -r status pattern check arguments; do
    eval "expect $status $arguments"
    if [ -n "$pattern" ]; then complains "$pattern"; else same "$errors" /dev/null "$arguments"; fi
    eval "$check" || fail "$check: velhost $arguments: $(cat "$said")"
  done
}

# As a phone writes it: a note of how it was held (1 to 8), and a film behind the picture, here one
# that has a scan but no end.
phone() {
  printf '\xff\xd8\xff\xe1\0\x22Exif\0\0II*\0\x08\0\0\0\x01\0\x12\x01\x03\0\x01\0\0\0\x0'"$1"'\0\0\0\0\0\0\0'
  tail -c +3 plain.jpg
  head -c 9000 plain.jpg
}

cp "$sample" soft.png
expect 0 soft.png -m BitmapVel -o sample.png  # With no more bits of alpha than the host keeps.
cp sample.png other.png
head -c 5000 sample.png >cut.png
{ head -c 3000 sample.png; printf X; tail -c +3002 sample.png; } >damaged.png
echo "not a picture" >text.png
expect 0 sample.png -m BitmapVel -o plain.jpg
phone 6 >phone.jpg
head -c 30000 phone.jpg >cut.jpg
# 1 x 1 with 16 bits a channel; 20000 x 20000.
base64 -d >deep.png <<<iVBORw0KGgoAAAANSUhEUgAAAAEAAAABEAAAAABq7kcWAAAAC0lEQVR42mMQMgEAAFsARwVfbIIAAAAASUVORK5CYII=
base64 -d >huge.png <<<iVBORw0KGgoAAAANSUhEUgAATiAAAE4gCAYAAADjcEY5AAAACUlEQVR42mMAAAABAAGxDbaTAAAAAElFTkSuQmCC

# What is refused leaves everything as it was.
refusals() {
  mkdir copies
  cp sample.png copies/
  echo "<svg/>" >vector.svg
  local -r steering=$'a\e[31m\n.png' endless="$(printf 'a%.0s' {1..300})"
  local -r before="$(state)"
  try <<'CASES'
2|no picture given||
2|no method given||sample.png
1|nope.png: No such file.*PNG, JPEG or BMP||nope.png -m Rotate90Vel -o out.png
1|is a folder||. -m Rotate90Vel -o out.png
1|text.png is no picture||text.png -m Rotate90Vel -o out.png
1|^velhost: standard input is empty||- -m Rotate90Vel -o out.png </dev/null
2|- has no name to keep: -o FILE||- -m Rotate90Vel -o new/ <sample.png
2|copies is a folder: give copies/[*]||sample.png copies -m Rotate90Vel -o new/
2|HMirrorVel is a method: give it an -m of its own||sample.png -m Rotate90Vel HMirrorVel -o out.png
1|vector.svg is an SVG file: convert it to PNG first||vector.svg -m Rotate90Vel -o out.png
1|a.x1b.31m.x0a.png: No such file||"$steering" -m Rotate90Vel -o out.png
1|: File name too long||"$endless" -m Rotate90Vel -o out.png
2|: File name too long||sample.png -m Rotate90Vel -o "$endless/"
2|no output given: add -o FILE||sample.png -m "RotateMemoryVel(30)" -m Rotate90Vel
2|no output given: add -o FILE||sample.png -m Rotate90Vel -o ""
2|no output given: add -o FILE||sample.png --sheet -o ""
2|--json belongs to --check||sample.png -m Rotate90Vel -o out.png --json out.json
2|--jobs belongs to --check||sample.png -m Rotate90Vel -o out.png --jobs 2
2|--no-times belongs to --sheet||sample.png -m Rotate90Vel -o out.png --no-times
2|PICTURE does not go with --list||--list sample.png
2|--quality: Value 101||sample.png -m Rotate90Vel -o out.jpg --quality 101
2|--background white is no colour||sample.png -m Rotate90Vel -o out.jpg --background white
1|cut off or damaged||cut.png -m Rotate90Vel -o out.png
1|cut off or damaged||damaged.png -m Rotate90Vel -o out.png
1|cut off or damaged||cut.jpg -m Rotate90Vel -o out.png
1|too large to decode in 32 bits||huge.png -m Rotate90Vel -o out.png
1|sample.png: CloneVel(0, 5) returned no picture|says 'references and locks left: none'|sample.png -m "CloneVel(0, 5)" -o out.png --stats
2|no method Rotate90: did you mean Rotate90Vel? --list shows all$||sample.png -m Rotate90 -o out.png
2|declared as RotateVel(angle as double||sample.png -m RotateVel -o out.png
2|declared as RotateVel(angle as double||sample.png -m "RotateVel(1, 2, 3)" -o out.png
2|: 5 is no colour; decimals take a point; it is declared as RotateVel||sample.png -m "RotateVel(3,5)" -o out.png
2|declared as CloneVel||sample.png -m "CloneVel(1.5, 2)" -o out.png
2|"inf" is neither a number nor a colour||sample.png -m "RotateVel(inf)" -o out.png
2|#ff2040.*&cFFff2040 (opaque).*&cff2040.*alpha 0||sample.png -m "RotateVel(30, #ff2040)" -o out.png
2|parenthesis||sample.png -m "RotateVel(30" -o out.png
2|use .png, .jpg or .bmp||sample.png -m MirrorVel -o out.gif
2|gif not in {png,jpg,bmp}||sample.png -m MirrorVel --format gif -o out.png
2|folder nodir is missing||sample.png -m MirrorVel -o nodir/out.png
2|need a folder||sample.png sample.png -m MirrorVel -o out.png
2|sample.png is there already.*--force||sample.png -m MirrorVel -o sample.png
2|other.png is there already.*--force||sample.png -m MirrorVel -o other.png
2|/sample.png is there already.*--force||sample.png other.png -m MirrorVel -o .
2|would both become new/sample.png||sample.png copies/sample.png -m MirrorVel -o new/
2|mac not in {console,web,cairo,gdk}||sample.png -m MirrorVel --host mac -o out.png
2|--host-version||sample.png -m MirrorVel --host-version new -o out.png
2|no plugin .*nope.so||sample.png -m MirrorVel --plugin nope.so -o out.png
2|/text.png cannot be loaded: [^/]*$||sample.png -m MirrorVel --plugin text.png -o out.png
2|--kernels||sample.png -m MirrorVel --kernels abacus -o out.png
2|not expected: --bogus||sample.png -m MirrorVel --bogus -o out.png
CASES
  same <(state) <(echo "$before") "what was refused left a trace"
}

habits() {
  expect 0 sample.png -m Rotate90Vel -o quarter.png
  cp sample.png "Grüße aus Köln.png"
  ln -s target.png dangling.png
  ln -s replaced.png link.png
  echo old >replaced.png
  echo old >secret.png
  chmod 600 secret.png
  chgrp 7 secret.png 2>/dev/null
  local -r group="$(stat -c %g secret.png)"
  try <<'CASES'
0||same a.png quarter.png|-m Rotate90Vel sample.png -o a.png
0||same b.png quarter.png|-o b.png -m Rotate90Vel sample.png
0||same c.png quarter.png|-m Rotate180Vel -m HMirrorVel sample.png -m VMirrorVel -o c.png --method=Rotate90Vel
0||[ -L dangling.png ] && same target.png quarter.png|sample.png -m Rotate90Vel -o dangling.png
2|link.png is there already|[ "$(cat replaced.png)" = old ]|sample.png -m Rotate90Vel -o link.png
0||[ -L link.png ] && same replaced.png quarter.png|sample.png -m Rotate90Vel -o link.png --force
0||same other.png quarter.png|other.png -m Rotate90Vel -o other.png --force
0||same "Aus gabe/Grüße aus Köln.png" quarter.png|"Grüße aus Köln.png" -m Rotate90Vel -o "Aus gabe/"
0||same new/sample.png quarter.png && same new/plain.jpg <("$velhost" - <plain.jpg -m Rotate90Vel --format jpg -o - 2>/dev/null)|sample.png plain.jpg -m Rotate90Vel -o new/
0||same new/plain.png <("$velhost" plain.jpg -m Rotate90Vel -o - 2>/dev/null)|sample.png plain.jpg -m Rotate90Vel -o new/ --format png --force
0|note: deep.png has 16 bits||deep.png -m MirrorVel -o deep2.png
0|note: soft.png keeps 7 of its 8 bits of alpha.*--host cairo||soft.png -m MirrorVel -o soft2.png
0||! [ -s "$said" ]|soft.png -m MirrorVel -o soft2.png --force --quiet
0|upright, EXIF orientation 6||phone.jpg -m MirrorVel --stats -o upright.jpg
0||[ "$(stat -c %a:%g secret.png)" = "600:$group" ]|sample.png -m MirrorVel -o secret.png --force
0||[ "$(wc -l <"$said")" = 1 ] && says "^RotateMemoryVel(30): [0-9]*$"|sample.png -q -m "RotateMemoryVel(30)"
0||says '^other.png: RotateMemoryVel(30): [0-9]* in'|sample.png other.png -m "RotateMemoryVel(30)"
0||says '^velhost [0-9]*[.][0-9]*[.][0-9]*$'|-V
0||fits && says '^  -m,--method CALL '|--help
0||[ -s sheet.png ]|sample.png --sheet
CASES
  "$velhost" - -m Rotate90Vel -o - <sample.png 2>"$errors" >"$said" || fail "no picture in a pipe"
  same "$said" quarter.png
  grep -q 'Rotate90Vel: 320 x 480' "$errors" || fail "the words do not go to standard error"
  script -qec "'$velhost' sample.png -m MirrorVel -o -" "$said" >/dev/null && fail "a picture on a terminal"
  says 'standard output is a terminal'
  local arguments
  for arguments in --list --help 'sample.png -m RotateMemoryVel(30)'; do
    # shellcheck disable=SC2086
    "$velhost" $arguments >/dev/full 2>"$errors"
    [ $? = 1 ] && complains 'standard output cannot be written: No space' || fail "$arguments: full"
  done
  compgen -G '*png.*' && fail "temporary files are left"
}

# By other ways than the tool's own.
orientation() {
  while read -r held methods; do
    phone "$held" >held.jpg
    expect 0 held.jpg -m BitmapVel -o upright.bmp --force
    eval "expect 0 held.jpg --no-orient -m BitmapVel $methods -o model.bmp --force"
    same upright.bmp model.bmp "orientation $held"
  done <<'CASES'
1
2 -m Rotate180Vel -m VMirrorVel
3 -m HMirrorVel -m VMirrorVel
4 -m Rotate180Vel -m HMirrorVel
5 -m Rotate90Vel -m VMirrorVel
6 -m Rotate90Vel -m Rotate180Vel
7 -m Rotate270Vel -m VMirrorVel
8 -m Rotate270Vel -m Rotate180Vel
9
CASES
}

results() {
  expect 0 --list
  local -r listed="$(grep -c 'Vel.* as ' "$said")"
  [ "$listed" != 0 ] || fail "--list: $(cat "$said")"
  expect 0 sample.png -m BitmapVel -o plain.png --stats
  says ": $listed methods registered"
  says 'with alpha channel'
  says 'host calls'
  says 'references and locks left: none'
  expect 0 sample.png -m HMirrorPictureVel -o mirrored.png
  cmp -s plain.png mirrored.png && fail "an in-place change was lost"
  expect 0 mirrored.png -m hmirrorpicturevel -o back.png
  same plain.png back.png
  expect 0 sample.png -m "RotateVel(30)" -o default.png
  expect 0 sample.png -m "RotateVel( 30 , &cFFFFFFFF )" -o given.png
  same default.png given.png
  expect 0 sample.png -m "CloneVel(100, 50)" -m "RotateMemoryVel(30)"
  says 'RotateMemoryVel(30): 153048'
  expect 0 sample.png -m BitmapVel --host-version 2011.03 -o flat.bmp
  complains 'sample.png is laid over --background'
  expect 0 flat.bmp -m Rotate90Vel -m Rotate270Vel -o flat2.bmp
  same flat.bmp flat2.bmp
  expect 0 sample.png -m MirrorVel --log -o mirror.png
  says 'call  REALLockPictureDescription(picture#1'
}

# Compared with what Pillow makes of the files.
metadata() {
  local -r pillow="$(dirname "$script")/pictures.py" python=/usr/bin/python3
  "$python" "$pillow" make || { echo "SKIPPED: no Pillow to compare with: tools/setup test"; exit 77; }
  facts() { "$python" "$pillow" "$@"; }
  kept() { [ "$(facts "$1" "${@:3}")" = "$(facts "$2" "${@:3}")" ]; }
  has() { [ "$(facts "$1" "$2")" = "$3" ]; }
  try <<'CASES'
0||kept photo.jpg a.jpg icc dpi exif coding && has a.jpg held 1 && has a.jpg size "(320, 480)"|photo.jpg -m MirrorVel -o a.jpg
0||kept photo.jpg b.png icc dpi exif && has b.png held 1|photo.jpg -m MirrorVel -o b.png
0||kept photo.jpg c.jpg held|photo.jpg -m MirrorVel --no-orient -o c.jpg
0|d.bmp cannot hold.*: colour profile, EXIF data$|kept photo.jpg d.bmp dpi|photo.jpg -m MirrorVel -o d.bmp
0||kept scan.png e.jpg icc dpi exif && has e.jpg held 1|scan.png -m MirrorVel -o e.jpg
0||kept scan.png f.png icc dpi exif|scan.png -m MirrorVel -o f.png
0||kept d.bmp g.png dpi pixels|d.bmp -m BitmapVel -o g.png
0||kept linear.png h.png gamma|linear.png -m MirrorVel -o h.png
0|i.jpg cannot hold.*: gamma$||linear.png -m MirrorVel -o i.jpg
0||kept low.jpg j.jpg coding|photo.jpg -m MirrorVel -o j.jpg --quality 30
0||kept grey.jpg k.jpg coding mode|grey.jpg -m MirrorVel -o k.jpg
0||has l.jpg mode RGB|grey.jpg -m "RotateVel(30, &cFFFF0000)" -o l.jpg
0||kept ink.jpg m.png light|ink.jpg -m BitmapVel -o m.png
0||kept palette.png n.png pixels|palette.png -m BitmapVel -o n.png
0||kept bits.png o.png pixels|bits.png -m BitmapVel -o o.png
0||kept key.png p.png pixels|key.png -m BitmapVel -o p.png
0|transparency: laid over &cFFFFFF|has q.jpg corner "(255, 255, 255)"|clear.png -m BitmapVel -o q.jpg
0|transparency: laid over &c0080FF|has r.bmp corner "(0, 128, 255)"|clear.png -m BitmapVel --background "&c0080FF" -o r.bmp
0|laid over --background|has s.png corner "(0, 128, 255)"|clear.png -m BitmapVel --background "&c0080FF" --host-version 2011 -o s.png
1|a.tif is a TIFF file: convert it to PNG first||a.tif -m MirrorVel -o t.png
1|a.gif is a GIF file||a.gif -m MirrorVel -o t.png
1|a.webp is a WebP file||a.webp -m MirrorVel -o t.png
CASES
}

batch() {
  local pictures=() number signal status=0
  expect 1 sample.png cut.png nope.png other.png -m Rotate90Vel -o finished/
  says '^2 of 4 pictures written to finished/, 2 failed$'
  grep -q '^velhost: cut.png is cut off' "$errors" && grep -q '^velhost: nope.png: No' "$errors" ||
    fail "not on standard error: $(cat "$errors")"
  grep -q $'\r' "$errors" && fail "a progress bar in a pipe"
  [ "$(cd finished && echo *)" = "other.png sample.png" ] || fail "in the folder: $(ls finished)"

  script -qec "'$velhost' sample.png cut.png other.png -m MirrorVel -o bar/" "$said" >/dev/null
  says '\[.*\] 3 of 3, [0-9]* s left: .*other.png'
  local -r long="$(printf 'ä%.0s' {1..60}).png"
  cp sample.png "$long"
  script -qec "stty cols 40; '$velhost' other.png '$long' -m MirrorVel -o narrow/" "$said" >/dev/null
  tr '\r' '\n' <"$said" | sed 's/\x1b\[[?0-9]*[A-Za-z]//g' | grep '^2 of 2.*…$' | LC_ALL=C.UTF-8 grep -qE '^.{20,39}$' ||
    fail "does not fit 40 columns: $(cat "$said")"
  TERM=dumb script -qec "'$velhost' other.png sample.png -m MirrorVel -o dumb/" "$said" >/dev/null
  grep -q $'\e' "$said" && fail "draws on a terminal that cannot"

  for number in {1..99}; do
    ln -s sample.png "$number.png"
    pictures+=("$number.png")
  done
  set -m  # Otherwise what runs in the background is told to ignore the signal.
  for signal in HUP INT; do
    rm -rf stopped
    "$velhost" "${pictures[@]}" -m Rotate90Vel -o stopped/ >"$said" 2>"$errors" &
    until [ -e stopped/2.png ]; do sleep 0.01; done
    kill -"$signal" $!
    status=0
    wait $! || status=$?
    [ "$status" = $((128 + $(kill -l "$signal"))) ] || fail "status $status after a signal"
    says 'of 99 pictures written to stopped/, 0 failed$'
    [ -z "$(find stopped -name '*png.*')" ] || fail "temporary files: $(ls stopped)"
  done
  set +m
  number="$(find stopped -name '*.png' | wc -l)"
  [ "$number" -lt 99 ] && says "^$number of 99 pictures written to stopped/, 0 failed$"
  same stopped/1.png finished/sample.png
  same "stopped/$number.png" finished/sample.png
}

# In namespaces of its own, to have a file system that is full and a user whom rights bind.
disk() {
  unshare -rm true 2>/dev/null || {
    echo "SKIPPED: this machine gives no namespaces"
    exit 77
  }
  [ -n "${OWN_DISK:-}" ] || {
    OWN_DISK=1 unshare -rm bash "$script" disk "$velhost" "$sample"
    exit
  }
  mkdir full locked dark
  cp sample.png dark/
  mount -t tmpfs -o size=64k tmpfs full
  chmod 555 locked
  chmod 0 dark
  within=(setpriv --bounding-set=-dac_override,-dac_read_search --inh-caps=-dac_override,-dac_read_search)
  try <<'CASES'
1|full/out.png cannot be written: No space left|[ -z "$(ls full)" ]|sample.png -m MirrorVel -o full/out.png
1|locked/out.png cannot be written: Permission denied|[ -z "$(ls locked)" ]|sample.png -m MirrorVel -o locked/out.png
1|^velhost: dark/sample.png: Permission denied||dark/sample.png -m MirrorVel -o out.png
1|^velhost: dark/out.png cannot be written: Permission denied||sample.png -m MirrorVel -o dark/out.png
2|locked/new/ cannot be made: Permission denied||sample.png -m MirrorVel -o locked/new/
CASES
  umount full
}

memory() {
  local -r enough=60000  # For the sample, not for 16 million pixels.
  (ulimit -v $enough && "$velhost" --version >/dev/null 2>&1) ||
    { echo "SKIPPED: this build, or its emulator, needs more memory to start"; exit 77; }
  expect 0 sample.png -m "CloneVel(4000, 4000)" -o large.png
  ulimit -v $enough
  expect 1 sample.png large.png other.png -m Rotate90Vel -o finished/
  complains 'large.png: memory is short'
  says '^2 of 3 pictures written to finished/, 1 failed$'
  expect 1 sample.png -m "CloneVel(3000, 3000)" -o out.png
  complains 'sample.png: memory is short'
}

check() {
  { printf '\x7fELF\x02\x01\x01'; head -c 9 /dev/zero; printf '\x03\0\x3e'; head -c 99 /dev/zero; } >wide.so
  ln -s "$(ldd "$velhost" | awk '/libm.so/ { print $3 }')" libm.so
  head -c 20000 "$PLUGIN" >cut.so
  mkfifo pipe.so
  LC_ALL=C sed 's/libc[.]so[.]6/lost.so.6/' "$PLUGIN" >orphan.so
  case='Break/console/2012.01/5x3'
  try <<'CASES'
2|text.png is no shared library||--check text.png
2|nope.so: name||--check nope.so
2|wide.so is no 32-bit||--check wide.so
2|no entry point REALPluginMain||--check libm.so
2|cut.so is cut off||--check cut.so
2|pipe.so is no file||--check pipe.so
2|/orphan.so cannot be loaded: lost.so.6: cannot open||--check orphan.so
2|--check: 1 required PLUGIN missing||--check
2|--check '--quick': the plugin stands right behind||--check --quick orphan.so
2|--check '': the plugin stands right behind||--check ""
2|is no case: give one||--check "$PLUGIN" --case Break/console
2|is no case: give one||--check "$PLUGIN" --case Break/console/2012/5x3,hello
2|nothing could be tried||--check "$PLUGIN" --case Nope/console/2012/5x3
2|--case belongs to --check||--case Break/console/2012/5x3
0||says "^loading: passed"|--check "$PLUGIN" --case loading
1||says "^call .*lockPictureDescription"|--check "$PLUGIN" --case "$case"
1||says "^---.*the second time"|--check "$PLUGIN" --case "$case"
1||says "when lockPictureDescription (call 1, at broken.so+0x.*) failed"|--check "$PLUGIN" --case "Break/web/2011.5/call 1"
0|||--check "$PLUGIN" --quick --only start-up
2|'nosuch' is in no case||--check "$PLUGIN" --quick --only nosuch
2|'nosuch' is in no case||--check "$PLUGIN" --quick --only nosuch --list-cases
0||says "^Break/cairo/2012.01/5x3$"|--check "$PLUGIN" --quick --list-cases
0||says "^warning: .*left locked"|--check "$PLUGIN" --quick --level error
1||grep -q "<failure type=.lock. message=.* broken.so+0x[0-9a-f]* (broken.*:[0-9]*)" one.xml|--check "$PLUGIN" --quick --junit one.xml
2|cannot both be -||--check "$PLUGIN" --quick --json - --junit -
1||grep -v seconds one.json >first.json; grep -q '"source": "broken.*:[0-9]*"' first.json|--check "$PLUGIN" --quick --json one.json --jobs 1
1||cmp -s <(grep -v seconds one.json) first.json|--check "$PLUGIN" --quick --json one.json --jobs 3
CASES
  "$velhost" --check "$PLUGIN" --quick --json - 2>"$errors" | grep -v seconds >"$said"
  same "$said" first.json
  grep -q ': description left locked' "$errors" || fail "no text beside JSON: $(cat "$errors")"
  # Every line that is said to repeat a case does.
  expect 1 --check "$PLUGIN" --quick
  sed -n "s/^    .* --case //p" "$said" | sort -u >repeats
  [ -s repeats ] || fail "no lines to repeat"
  while read -r each; do eval "expect 1 --check '$PLUGIN' --case $each"; done <repeats
  FAULT=parameter expect 1 --check "$PLUGIN" --case "$case"
  FAULT=hang expect 1 --check "$PLUGIN" --case "$case" --case-seconds 1
  says "^timed out"
}

hosts() {
  expect 0 sample.png -m BitmapVel --host gdk -o flat.png
  for host in console web cairo gdk; do
    for picture in sample flat; do
      expect 0 "$picture.png" -m BitmapVel --host "$host" -o plain.png --force
      expect 0 "$picture.png" -m Rotate90Vel -m HMirrorVel -m Rotate90Vel -m HMirrorVel \
        --host "$host" -o turned.png --force --stats
      says 'references and locks left: none'
      same plain.png turned.png "$picture, $host"
    done
  done
  # A Cairo of the system's own cannot be taken away.
  if ! /sbin/ldconfig -p | grep -q 'libcairo\.so\.2 (libc6)'; then
    LD_LIBRARY_PATH='' expect 2 sample.png -m MirrorVel --host cairo
    complains 'libcairo.so.2.*cannot open'
  fi
  DISPLAY='' expect 2 sample.png -m MirrorVel --host gdk
  complains 'no X display'
}

"$group"
[ "$failures" = 0 ]
