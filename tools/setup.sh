#!/usr/bin/env bash
# Installs everything that building, running and testing Velmora 2 takes on a
# Debian 12 machine. Run as root, or as a user who may sudo. Running it again on a
# machine that has it all costs well under a second and needs no network.
set -euo pipefail

PACKAGES=(
  # Compiler, build tools, assembler for the image library's vector code
  g++-mingw-w64-i686-posix mingw-w64-tools libz-mingw-w64-dev
  g++ cmake ninja-build nasm dpkg-dev clang llvm libclang-rt-14-dev ca-certificates
  # Tests
  libgtest-dev googletest python3-numpy python3-pil python3-pytest
  libjpeg-turbo-progs libimage-exiftool-perl webp
  # The decoders' libraries for this machine, for the sanitizers
  libjpeg62-turbo-dev libpng-dev libwebp-dev libgif-dev libmpg123-dev libvorbis-dev
  # The drawings of the configuration window, and their typeface
  librsvg2-bin fontconfig fonts-lato
  # The installer
  nsis
  # Running the program: Wine, a display without a screen, the tools to look at it
  wine wine64 wine32:i386
  xvfb xdotool x11-utils x11-xserver-utils xserver-xorg-core
  xserver-xorg-video-dummy imagemagick ffmpeg
  libgl1:i386 libgl1-mesa-dri:i386 libglx-mesa0:i386
  libxrandr2:i386 libxcursor1:i386 libxi6:i386 libxcomposite1:i386
  libxfixes3:i386 libxinerama1:i386 libxrender1:i386 libxxf86vm1:i386
  fonts-liberation fonts-wine
  # Sound: a server whose output the tests record, Wine's road to it, and the
  # decoders that the system's own playing of files draws on
  pulseaudio pulseaudio-utils libasound2-plugins:i386 sox vorbis-tools
  gstreamer1.0-plugins-base:i386 gstreamer1.0-plugins-good:i386
  gstreamer1.0-plugins-ugly:i386 gstreamer1.0-libav:i386
)

say() { printf 'setup: %s\n' "$*"; }

missing_packages() {
  local wanted
  for wanted in "${PACKAGES[@]}"; do
    dpkg-query -W -f='${db:Status-Status}\n' "$wanted" 2>/dev/null | grep -qx installed ||
      echo "$wanted"
  done
}

as_root() {
  if [ "$(id -u)" = 0 ]; then "$@"
  elif command -v sudo >/dev/null; then sudo "$@"
  else say "root is needed to install packages, and sudo isn't here"; exit 1
  fi
}

# The index of one suite is damaged at times; what is installed next decides
# whether that mattered.
update_index() { as_root apt-get update -q || say "apt-get update reported errors; going on"; }

# A machine whose security suite offers one architecture only would pull two
# versions of a library apart; naming the base release keeps them together.
install() {
  local release
  release=$(. /etc/os-release && echo "$VERSION_CODENAME")
  apt_install "$@" || apt_install -t "$release" "$@"
}

apt_install() {
  as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends "$@"
}

# The reason is in apt's own words: a name that this system doesn't have, an archive
# out of reach, a full disk.
fail_to_install() {
  local system
  system=$(. /etc/os-release && echo "$PRETTY_NAME")
  say "apt couldn't install these packages, and says above why: $*"
  say "the names are those of Debian 12 (bookworm); this machine has $system"
  exit 1
} >&2

command -v apt-get >/dev/null || { say "this set-up knows Debian 12 only, and here is no apt-get"; exit 1; }
mapfile -t missing < <(missing_packages)
if [ "${#missing[@]}" -gt 0 ]; then
  say "installing ${#missing[@]} packages: ${missing[*]}"
  dpkg --print-foreign-architectures | grep -qx i386 || as_root dpkg --add-architecture i386
  update_index
  install "${missing[@]}" || fail_to_install "${missing[@]}"
fi
say "all packages are in place"
