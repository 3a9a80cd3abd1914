# Sourced by checks of the documentation: draws pictures of black and white as BMP files, and looks into
# those that velhost writes. What it says of them is found without the plugin.

# card OUT WIDTH HEIGHT: a BMP file with alpha, from lines "rows first-column columns" of what is
# dark. The rest is $ground: white (w), or clear (c).
ground=wwwa
card() {
  local byte number header='' rows first columns left dark right
  for number in "$2" -"$3"; do  # rows from the top
    for byte in 0 8 16 24; do printf -v header '%s\\x%02x' "$header" $((number >> byte & 255)); done
  done
  {
    printf 'BM\0\0\0\0\0\0\0\0\66\0\0\0\50\0\0\0'"$header"'\1\0\40\0'
    head -c 24 /dev/zero
    while read -r rows first columns; do
      printf -v left '%*s' "$first" ''
      printf -v dark '%*s' "$columns" ''
      printf -v right '%*s' $(($2 - first - columns)) ''
      left="${left// /$ground}${dark// /ddda}${right// /$ground}"
      while [ $((rows--)) -gt 0 ]; do printf %s "$left"; done
    done | tr 'dwca' '\041\377\000\377'
  } >"$1"
}

size() { od -An -td4 -j18 -N8 "$1" | awk '{ print $1 " × " $2 }'; }
# Of a BMP file as written: what is not white, as "number left top right bottom", and the top left
# pixel as RRGGBB.
not_white() {
  local width height
  read -r width _ height < <(size "$1")
  od -An -v -tu1 -j54 -w$(((3 * width + 3) / 4 * 4)) "$1" | awk -v w="$width" -v h="$height" '
    BEGIN { left = w; top = h }
    {
      for (x = 0; x < w; ++x) if ($(3 * x + 1) < 240) {
        ++n; y = h - NR; bottom = bottom > y ? bottom : y; top = y
        left = left < x ? left : x; right = right > x ? right : x
      }
    }
    END { print n + 0, left, top, right + 0, bottom + 0 }'
}
corner() {
  local width height
  read -r width _ height < <(size "$1")
  od -An -tx1 -j $((54 + (3 * width + 3) / 4 * 4 * (height - 1))) -N3 "$1" | awk '{ print $3 $2 $1 }'
}
# Which edge a picture's one dark line lies along.
edge() {
  local width height left top right bottom
  read -r width _ height < <(size "$1")
  read -r _ left top right bottom < <(not_white "$1")
  case "$((bottom == 0)) $((right == 0)) $((top == height - 1)) $((left == width - 1))" in
    "1 0 0 0") echo top ;; "0 1 0 0") echo left ;; "0 0 1 0") echo bottom ;; "0 0 0 1") echo right ;;
  esac
}
