#!/usr/bin/env bash
# Installs the Debian packages the build needs, quietly, and only when something is missing.
#   install-deps.sh host    build and test on this machine
#   install-deps.sh armhf   cross build for the 32-bit ARM controller, run under qemu-arm
#   install-deps.sh fuzz    clang with libFuzzer and the sanitizer runtimes, llvm-symbolizer for stacks
# Exit codes: 0 ready, 3 the armhf packages could not be installed (archive unreachable).
set -euo pipefail
mode=${1:-host}

host_pkgs=(cmake make g++ pkg-config
  libboost-dev libboost-thread-dev libboost-date-time-dev libboost-chrono-dev
  libboost-timer-dev libboost-filesystem-dev libboost-program-options-dev
  liblog4cplus-dev librapidxml-dev libutfcpp-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  # instructions per conversion are counted under callgrind (ctest -L perf)
  valgrind
  # a second compiler for the installed headers, as some host teams use it
  clang-14
  # ervom's live bus: the daemon and its tools for the tests, the client library to build against
  knxd knxd-tools knxd-dev)
armhf_pkgs=(g++-arm-linux-gnueabihf qemu-user libc6:armhf
  libboost-dev:armhf libboost-thread-dev:armhf libboost-date-time-dev:armhf
  libboost-chrono-dev:armhf libboost-timer-dev:armhf libboost-filesystem-dev:armhf
  liblog4cplus-dev:armhf libutfcpp-dev:armhf libgtest-dev:armhf libgmock-dev:armhf)

fuzz_pkgs=(libclang-rt-14-dev llvm-14)

missing() {
  local p out=()
  for p in "$@"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || out+=("$p")
  done
  echo "${out[@]:-}"
}

sudo_() { if [ "$(id -u)" -eq 0 ]; then "$@"; else sudo "$@"; fi; }
export DEBIAN_FRONTEND=noninteractive

# install_missing PACKAGE...: installs those that are not installed yet.
install_missing() {
  local need
  need=$(missing "$@")
  [ -z "$need" ] && return 0
  echo "installing: $need"
  sudo_ apt-get update -qq >/dev/null 2>&1 || true
  # shellcheck disable=SC2086
  sudo_ apt-get install -y -qq --no-install-recommends $need >/dev/null
}

# Installing knxd where systemd runs enables and starts a system daemon that routes KNX over the
# LAN. The build and the tests only need its programs and start their own private daemons, so a
# daemon that this script brought in is stopped again; one that was there before is left alone.
quiet_new_knxd() {
  [ -n "$1" ] || return 0
  if command -v systemctl >/dev/null && [ -d /run/systemd/system ]; then
    sudo_ systemctl disable --now knxd.socket knxd.service >/dev/null 2>&1 || true
    echo "knxd's system service disabled; enable it with: systemctl enable --now knxd.socket knxd.service"
  fi
}

case "$mode" in
host | fuzz)
  had_knxd=$(missing knxd)
  if [ "$mode" = fuzz ]; then
    install_missing "${host_pkgs[@]}" "${fuzz_pkgs[@]}"
  else
    install_missing "${host_pkgs[@]}"
  fi
  quiet_new_knxd "$had_knxd"
  ;;
armhf)
  "$0" host
  dpkg --print-foreign-architectures | grep -qx armhf || sudo_ dpkg --add-architecture armhf
  need=$(missing "${armhf_pkgs[@]}")
  [ -z "$need" ] && exit 0
  echo "installing: $need"
  # The foreign security index sometimes fails to download; the main archive is what matters.
  # Pinning bookworm main above the preinstalled amd64 versions lets apt downgrade the few
  # packages (linux-libc-dev, libssl3, krb5) whose versions would otherwise skew with :armhf.
  prefs=$(mktemp)
  trap 'rm -f "$prefs"' EXIT
  printf 'Package: *\nPin: release n=bookworm\nPin-Priority: 1001\n' >"$prefs"
  for attempt in 1 2 3; do
    sudo_ apt-get update -qq >/dev/null 2>&1 || true
    # shellcheck disable=SC2086
    if sudo_ apt-get install -y -qq --no-install-recommends --allow-downgrades \
         -o Dir::Etc::Preferences="$prefs" $need >/tmp/ervom-armhf-apt.log 2>&1; then
      exit 0
    fi
    echo "armhf install attempt $attempt failed: $(tail -n 1 /tmp/ervom-armhf-apt.log)" >&2
    sleep $((attempt * 10))
  done
  exit 3
  ;;
*) echo "usage: $0 host|fuzz|armhf" >&2; exit 2 ;;
esac
