#!/usr/bin/env bash
# fetch.sh SOURCE UPSTREAM DOWNLOADS TARGET
#
# Unpacks Debian's source package SOURCE, whose upstream version has to be
# UPSTREAM, into the folder TARGET, patches applied. The package's files are
# kept in the folder DOWNLOADS; when they are there already, no network is
# needed.
#
# Trust: apt checks the archive's signature, the index and the downloaded files
# against it; the files are checked once more against the .dsc each time they
# are used. The Debian revision is left open on purpose: a point release brings
# security fixes and takes the former revision off the mirrors.
set -euo pipefail

source_name=$1 upstream=$2 downloads=$3 target=$4

fail() { printf 'fetch failed: %s\n' "$*" >&2; exit 1; }

# The files that a .dsc names, as input for sha256sum. Detached signatures of
# upstream aren't needed, and mirrors lack them at times.
checksums_of() {
  awk '/^Checksums-Sha256:/ { on = 1; next }
       /^[^ ]/ { on = 0 }
       on && $3 !~ /\.asc$/ { print $1 "  " $3 }' "$1"
}

is_complete() {
  local list
  list=$(checksums_of "$1") && [ -n "$list" ] || return 1
  (cd "$downloads" && sha256sum --check --quiet <<<"$list") >/dev/null 2>&1
}

# Prints the newest complete .dsc of the wanted version, if there is one.
find_dsc() {
  local dsc
  while read -r dsc; do
    if is_complete "$dsc"; then echo "$dsc"; return; fi
  done < <(find "$downloads" -maxdepth 1 -name "${source_name}_${upstream}-*.dsc" | sort -rV)
}

private_apt() {
  local command=$1; shift
  "$command" -q -o Dir::Etc::sourcelist="$apt/sources.list" -o Dir::Etc::sourceparts=- \
    -o Dir::State::Lists="$apt/lists" -o Dir::Cache="$apt/cache" \
    -o APT::Sandbox::User="$(id -un)" "$@"
}

# The machine's own archive, asked for sources; so its mirror, proxy and keys
# are the ones used.
prepare_apt() {
  local codename site keyring=/usr/share/keyrings/debian-archive-keyring.gpg
  codename=$(. /etc/os-release && echo "$VERSION_CODENAME")
  site=$(apt-get indextargets --format '$(SITE) $(RELEASE) $(COMPONENT)' 'Created-By: Packages' |
    awk -v release="$codename" '$2 == release && $3 == "main" { print $1; exit }')
  [ -n "$site" ] || fail "apt's sources name no archive for '$codename main'"
  mkdir -p "$apt/lists/partial" "$apt/cache/archives/partial"
  local options=""
  [ ! -e "$keyring" ] || options="[signed-by=$keyring] "
  echo "deb-src $options$site $codename main" >"$apt/sources.list"
}

# An index that misses an item is used as it stands: the files that follow are
# checked anyhow.
update_index() {
  private_apt apt-get update || echo "fetch: apt-get update reported errors; going on" >&2
}

# Fails when a signature file is missing upstream of us; is_complete decides
# whether what came is enough.
download() {
  (cd "$downloads" && private_apt apt-get source --download-only "$source_name") || true
}

fetch() {
  echo "fetch: downloading the sources of $source_name"
  prepare_apt
  compgen -G "$apt/lists/*_Sources*" >/dev/null || update_index
  download
  dsc=$(find_dsc)
  [ -z "$dsc" ] || return 0
  update_index
  download
  dsc=$(find_dsc)
  [ -z "$dsc" ] || return 0
  local offered
  offered=$(private_apt apt-cache showsrc "$source_name" 2>/dev/null |
    awk '/^Version:/ { print $2 }' | sort -uV | tail -n 1) || true
  [ -n "$offered" ] ||
    fail "can't reach the Debian archive for the sources of $source_name $upstream (no network?)"
  case ${offered#*:} in
    "$upstream"-*)
      fail "$source_name $offered came damaged or not whole from the archive" ;;
    *)
      fail "the archive has $source_name $offered, but this build knows $upstream:" \
        "see cmake/deps/CMakeLists.txt" ;;
  esac
}

mkdir -p "$downloads"
downloads=$(cd "$downloads" && pwd)
apt=$downloads/apt

exec 9>"$downloads/lock"  # apt runs once at a time
flock 9
dsc=$(find_dsc)
[ -n "$dsc" ] || fetch
exec 9>&-

rm -rf "$target" "$target.unpacking"
mkdir -p "$(dirname "$target")"
# The signature inside the .dsc would need the maintainers' key ring; see above
# for what vouches for the files.
dpkg-source --no-check -x "$dsc" "$target.unpacking"
mv "$target.unpacking" "$target"
