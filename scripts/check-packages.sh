#!/usr/bin/env bash
# Checks the Debian packages CPack made: names, architecture, contents (dpkg-deb -c), the SONAME
# and CPU of the libraries, and that the runtime package depends on the package of every library
# they load; on amd64 the same for the tool's package, ervom, with its manual pages and completion.
#   check-packages.sh DIR ARCH VERSION      e.g. check-packages.sh build/packages amd64 1.0.0
set -euo pipefail
dir=$1 arch=$2 version=$3
major=${version%%.*}
case "$arch" in
amd64) triplet=x86_64-linux-gnu machine='X86-64' ;;
armhf) triplet=arm-linux-gnueabihf machine='ARM' ;;
*) echo "unknown architecture $arch" >&2; exit 2 ;;
esac
runtime=$dir/libervobjectmodel${major}_${version}_${arch}.deb
dev=$dir/libervobjectmodel-dev_${version}_${arch}.deb
failures=0
fail() { echo "FAIL: $*"; failures=$((failures + 1)); }

for deb in "$runtime" "$dev"; do
    [ -f "$deb" ] || { echo "FAIL: $deb missing; made: $(ls "$dir"/*.deb 2>/dev/null)"; exit 1; }
    got=$(dpkg-deb -f "$deb" Architecture)
    [ "$got" = "$arch" ] || fail "$(basename "$deb"): architecture $got"
done

# contents <deb>: the paths it holds, without the leading ./ (symlinks as "path -> target")
contents() { dpkg-deb -c "$1" | awk '{ $1 = $2 = $3 = $4 = $5 = ""; sub(/^ *\.\//, ""); print }'; }
expect() { # expect <deb> <listing> <regex>...: each regex matches some line
    local deb=$1 listing=$2 re
    shift 2
    for re in "$@"; do
        grep -Eq "^$re\$" <<<"$listing" || fail "$(basename "$deb") lacks $re"
    done
}
lib=usr/lib/$triplet
rt=$(contents "$runtime")
devl=$(contents "$dev")
libs=(ervobjectmodel ervplatform-logging ervplatform-avovalue ervplatform-knxstack ervplatform-simulateddevicestack)
for l in "${libs[@]}"; do
    expect "$runtime" "$rt" "$lib/lib$l\.so\.$version" "$lib/lib$l\.so\.$major -> lib$l\.so\.$version"
    expect "$dev" "$devl" "$lib/lib$l\.so -> lib$l\.so\.$major"
done
expect "$dev" "$devl" \
    "usr/include/ErvObjectModel/(Export|KnxValueConverter|KnxConverter|GroupValueAvoValue|KnxLumMapping|AppHostConfig|DscAsyncRequestMessenger|RequestMessengerDeviceStack|TimeOfDay)\.h" \
    "usr/include/Erv/(Function|AvoValueHelper|MeasureDuration|Unreachable)\.h" \
    "usr/include/(AvoValue|ErvLogging|KnxStack|SimulatedDeviceStack)/Export\.h" \
    "usr/include/DeviceStackClient/IDeviceStackClient\.h" \
    "$lib/cmake/ErvObjectModel/ErvObjectModel(Config|ConfigVersion|Targets)\.cmake" \
    "$lib/pkgconfig/ervobjectmodel\.pc"
grep -q 'KnxConverterDetail' <<<"$devl" && fail "the private KnxConverterDetail.h is packaged"
grep -Eq '^usr/include/|\.so$|\.so ->' <<<"$rt" && fail "the runtime package holds development files"
grep -v ' -> ' <<<"$devl" | grep -Eq '\.so\.[0-9.]+$' && fail "the -dev package holds a library"

# The libraries themselves: CPU, SONAME, and a dependency for each library they load.
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
dpkg-deb -x "$runtime" "$work"
# depends_of DEB: the package names it depends on, one per line.
depends_of() { dpkg-deb -f "$1" Depends | tr ',' '\n' | awk '{ print $1 }'; }
# loads_from FILE WHO DEPENDS: each library FILE loads is among the extracted packages or comes from
# a package in DEPENDS.
loads_from() {
    local file=$1 who=$2 depends=$3 needed owner
    for needed in $(readelf -d "$file" | sed -n 's/.*Shared library: \[\(.*\)\]/\1/p'); do
        [ -e "$work/$lib/$needed" ] && continue
        owner=$(dpkg -S "/usr/lib/$triplet/$needed" "/lib/$triplet/$needed" 2>/dev/null | head -n 1 | cut -d: -f1) || true
        if [ -z "$owner" ]; then
            fail "$who loads $needed, which no installed package provides"
        elif ! grep -Fxq "$owner" <<<"$depends"; then
            fail "$who loads $needed from $owner, which its package does not depend on"
        fi
    done
}
depends=$(depends_of "$runtime")
for l in "${libs[@]}"; do
    so=$work/$lib/lib$l.so.$version
    readelf -h "$so" | grep -q "Machine:.*$machine" || fail "lib$l is not built for $machine"
    readelf -d "$so" | grep -q "Library soname: \[lib$l.so.$major\]" || fail "lib$l has no SONAME lib$l.so.$major"
    loads_from "$so" "lib$l" "$depends"
done

# The tool: binary, one manual page per command, completion, and a dependency for what it loads.
if [ "$arch" = amd64 ]; then
    tool=$dir/ervom_${version}_${arch}.deb
    [ -f "$tool" ] || { echo "FAIL: $tool missing; made: $(ls "$dir"/*.deb 2>/dev/null)"; exit 1; }
    [ "$(dpkg-deb -f "$tool" Architecture)" = "$arch" ] || fail "$(basename "$tool"): architecture"
    tl=$(contents "$tool")
    expect "$tool" "$tl" usr/bin/ervom usr/share/man/man1/ervom\.1\.gz usr/share/bash-completion/completions/ervom
    dpkg-deb -x "$tool" "$work"
    # Run from the extracted packages, with their libraries rather than any installed ones.
    commands=$(LD_LIBRARY_PATH=$work/$lib "$work/usr/bin/ervom" --help |
        awk '/^Commands:$/ { on = 1; next } on && /^$/ { exit } on { print $1 }')
    [ -n "$commands" ] || fail "ervom lists no commands"
    for c in $commands; do expect "$tool" "$tl" "usr/share/man/man1/ervom-$c\.1\.gz"; done
    bash -n "$work/usr/share/bash-completion/completions/ervom" || fail "the bash completion does not parse"
    grep -Eq '^usr/(lib|include)/' <<<"$tl" && fail "the tool package holds library files"
    tool_depends=$(depends_of "$tool")
    grep -Fxq "libervobjectmodel$major" <<<"$tool_depends" || fail "ervom does not depend on libervobjectmodel$major"
    loads_from "$work/usr/bin/ervom" ervom "$tool_depends"
fi

if [ "$failures" -gt 0 ]; then
    echo "$failures problem(s) in the $arch packages"
    exit 1
fi
echo "packages for $arch ok: $(basename "$runtime") ($(wc -l <<<"$rt") entries), $(basename "$dev") ($(wc -l <<<"$devl") entries)${tool:+, $(basename "$tool") ($(wc -l <<<"$tl") entries)}"
