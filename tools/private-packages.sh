# Sourced by tools/setup: libraries of the distribution without touching the system.
#
# A private apt does the thinking: its own lists, cache and record of what is installed lie in the
# user's download folder, its sources are the system's main suite for the wanted architecture, and its
# configuration switches off everything by which the machine's own would interfere (hooks, other
# architectures, preferences). It only downloads. dpkg then unpacks the archives under .deps and
# installs none. Two checkouts share the downloads, so a lock is held meanwhile; a manifest names the
# archives of a group, a stamp in .deps says that they are unpacked.

# Makes apt-get fail where it would only warn that an index cannot be had.
strictly=(-o APT::Update::Error-Mode=any)

# The sources of the system's own main suite, as lines for apt: same mirror, without the
# suites whose 32-bit index may lag behind their release file.
main_suite() {
  local codename
  codename="$(. /etc/os-release && echo "$VERSION_CODENAME")"
  apt-get indextargets --format '$(SITE)|$(RELEASE)|$(COMPONENT)' \
      'Created-By: Packages' |
    awk -F'|' -v suite="$codename" -v architecture="$architecture" '
      $2 == suite && /debian|ubuntu/ && !seen[$1 $3]++ {
        printf "deb [arch=%s] %s %s %s\n", architecture, $1, $2, $3 }'
}

# need_libraries GROUP FILES PACKAGE...: the named files, if the loader finds them all; else packages
# of the preset's architecture and all they depend on, unpacked under .deps.
need_libraries() {
  local group="$1" files
  read -ra files <<<"$2"
  shift 2
  local downloads="$downloads/$architecture" folder="$deps/$architecture"
  local stamp="$folder/.$group" wanted="$*"
  [ "$(cat "$stamp" 2>/dev/null)" != "$wanted" ] || return 0
  [ ${#files[@]} = 0 ] || ! loads "${files[@]}" || return 0
  command -v apt-get >/dev/null ||
    die "missing, and no apt-get to fetch them: $wanted ($architecture, as Debian names its packages)"
  mkdir -p "$downloads/archives/partial" "$downloads/lists/partial" "$folder"
  exec 9>"$downloads/lock"
  flock 9
  [ "$(cat "$stamp" 2>/dev/null)" != "$wanted" ] || { flock -u 9; return 0; }  # Done while waiting.
  local key manifest
  key="$(. /etc/os-release && echo "$VERSION_CODENAME")-$group-$(cksum <<<"$wanted" | cut -d' ' -f1)"
  manifest="$downloads/$key.list"
  if ! have_archives "$manifest"; then
    say "downloading libraries ($group, $architecture)"
    download "$manifest" "$@"
  fi
  say "unpacking libraries ($group, $architecture)"
  local archive
  while read -r archive; do
    dpkg -x "$downloads/archives/$archive" "$folder" || die "cannot unpack $archive"
  done <"$manifest"
  reroot_links "$folder"
  printf '%s\n' "$wanted" >"$stamp.new"
  mv "$stamp.new" "$stamp"
  flock -u 9
}

have_archives() {
  local archive
  [ -f "$1" ] || return 1
  while read -r archive; do
    [ -f "$downloads/archives/$archive" ] || return 1
  done <"$1"
}

download() {
  local manifest="$1" package
  shift
  # Taken as installed: what the compiler's 32-bit run-time already brings, and what only an
  # installation would use.
  for package in libc6 libgcc-s1 libstdc++6 libc6-dev linux-libc-dev dpkg debconf \
      perl perl-base perl-modules-5.36 python3 python3-distutils python3-lib2to3 python3-packaging \
      python3-mako python3-markdown tar install-info ucf sensible-utils shared-mime-info \
      adwaita-icon-theme gtk-update-icon-cache hicolor-icon-theme libgtk2.0-common \
      fonts-dejavu-core x11-common; do
    printf 'Package: %s\nStatus: install ok installed\nArchitecture: %s\nMulti-Arch: allowed\n' \
      "$package" "$architecture"
    printf 'Version: 9:99\nMaintainer: none\nDescription: taken as installed\n'
    [ "$package" != libc6-dev ] || echo 'Provides: libc-dev'
    echo
  done >"$downloads/status"
  main_suite >"$downloads/sources.list"
  [ -s "$downloads/sources.list" ] || die "found no main suite among the machine's package sources"
  cat >"$downloads/apt.conf" <<EOF
#clear APT::Architectures;
#clear APT::Update::Post-Invoke;
#clear APT::Update::Post-Invoke-Success;
#clear DPkg::Post-Invoke;
#clear DPkg::Pre-Install-Pkgs;
APT::Architecture "$architecture";
APT::Architectures { "$architecture"; };
APT::Install-Recommends "false";
APT::Sandbox::User "";
APT::Keep-Downloaded-Packages "true";
Acquire::Languages "none";
Acquire::Retries "3";
Dir::State "$downloads";
Dir::State::lists "$downloads/lists";
Dir::State::status "$downloads/status";
Dir::State::extended_states "$downloads/extended_states";
Dir::Cache "$downloads";
Dir::Cache::archives "$downloads/archives";
Dir::Log "$downloads";
Dir::Etc::sourcelist "$downloads/sources.list";
Dir::Etc::sourceparts "/dev/null";
Dir::Etc::preferences "/dev/null";
Dir::Etc::preferencesparts "/dev/null";
Debug::NoLocking "true";
EOF
  local apt=(apt-get -c "$downloads/apt.conf")
  quietly "${apt[@]}" "${strictly[@]}" update ||
    die "could not read the index of the packages: this needs a network"
  # Asked with an empty cache, apt names every file of the set.
  local empty
  empty="$(mktemp -d)"
  mkdir "$empty/partial"
  "${apt[@]}" -o "Dir::Cache::archives=$empty" install -y --print-uris "$@" \
    2>"$empty/log" | file_names >"$manifest.new" || { cat "$empty/log" >&2; die "no such set"; }
  rm -r "$empty"
  quietly "${apt[@]}" install -y --download-only "$@" ||
    die "could not download the libraries: this needs a network"
  have_archives "$manifest.new" || die "the download is incomplete"
  mv "$manifest.new" "$manifest"
}

# The names under which apt keeps what it says it would fetch.
file_names() { awk '/^\047/ { print $2 }'; }

# Absolute links would lead out of the folder, to files of the machine.
reroot_links() {
  local link target
  find "$1" -type l -lname '/*' | while read -r link; do
    target="$(readlink "$link")"
    [ ! -e "$1$target" ] || ln -sfnr "$1$target" "$link"
  done
}
