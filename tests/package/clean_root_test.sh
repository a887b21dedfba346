#!/usr/bin/env bash
# Installs the Debian packages on a clean Debian root, and lives there: ferrow receives ferrow-sim, and a host that is built
# against the development package runs.
#     clean_root_test.sh BUILD_DIR SOURCE_DIR
# Ends with 77 and a reason where no clean root can be made.
set -euo pipefail
build=$1 source=$2
skip() { echo "skipped: $*"; exit 77; }
fail() { echo "$*"; exit 1; }
[ "$(id -u)" -eq 0 ] || skip "only root can make a Debian root"
for tool in debootstrap cpack dpkg-shlibdeps file pkg-config; do
    command -v $tool > /dev/null || skip "no $tool on this machine"
done
work=$(mktemp -d)
root=$work/root
sim=
cleanup() {
    [ -z "$sim" ] || kill "$sim" 2> /dev/null || true
    mountpoint -q "$root/proc" && umount "$root/proc"
    rm -rf --one-file-system "$work"
}
trap cleanup EXIT
inside() { chroot "$root" /usr/bin/env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin LC_ALL=C DEBIAN_FRONTEND=noninteractive "$@"; }

(cd "$build" && cpack -G DEB -B "$work/debs") > "$work/cpack.log" 2>&1 || fail "$(cat "$work/cpack.log")"

# The same release from where this machine's packages come.
. /etc/os-release
mirror=$(apt-cache policy libc6 2> /dev/null | grep -oE 'https?://[^ ]+' | head -1)
[ "${ID:-}" = debian ] && [ -n "$mirror" ] || skip "this machine is no Debian with a mirror"
debootstrap --variant=minbase "$VERSION_CODENAME" "$root" "$mirror" > "$work/debootstrap.log" 2>&1 ||
    skip "debootstrap cannot make a root here: $(tail -1 "$work/debootstrap.log")"
cp /etc/resolv.conf "$root/etc/resolv.conf" 2> /dev/null || true
for file in /etc/apt/apt.conf /etc/apt/apt.conf.d/*; do # how this machine reaches its mirror
    [ -f "$file" ] && grep -qiE 'proxy|Verify|CaInfo' "$file" && cp "$file" "$root/etc/apt/apt.conf.d/"
done
mount -t proc proc "$root/proc" 2> /dev/null || true

mkdir "$root/debs"
cp "$work"/debs/*.deb "$root/debs"
inside apt-get update -qq > "$work/apt.log" 2>&1 || skip "no packages can be had inside: $(tail -1 "$work/apt.log")"
if ! inside apt-get install -y -qq --no-install-recommends -o APT::Sandbox::User=root $(cd "$root" && ls debs/*.deb | sed 's|^|/|') \
    >> "$work/apt.log" 2>&1; then
    fail "the packages do not install: $(tail -20 "$work/apt.log")"
fi
inside dpkg --audit | grep . && fail "dpkg finds fault"

inside ferrow --help | grep listen > /dev/null || fail "ferrow does not start"
chroot "$root" ferrow-sim --address 127.64.2.1 --duration 600 > "$work/sim.log" 2>&1 &
sim=$!
for _ in $(seq 600); do
    grep -q ready "$work/sim.log" && break
    sleep 0.1
done
grep -q ready "$work/sim.log" || fail "ferrow-sim does not start: $(cat "$work/sim.log")"
heard=$(inside ferrow listen --radio 127.64.2.1 --tune 14.2M:usb --device none --duration 3 --json --log /fc.log) ||
    fail "ferrow listen: $heard $(cat "$root/fc.log" "$work/sim.log")"
[ "$(grep -c '"signal_db"' <<< "$heard")" -ge 3 ] || fail "ferrow hears nothing: $heard"

# The development package serves a host; the compiler is this machine's.
flags=$(PKG_CONFIG_LIBDIR=$root/usr/lib/pkgconfig pkg-config --cflags --libs ferrowcore)
# shellcheck disable=SC2086
cc -std=c11 -D_POSIX_C_SOURCE=200809L "$source/examples/first_host.c" $flags \
    -o "$root/first_host"
inside /first_host 127.64.2.1 | grep ' dB$' > /dev/null || fail "a host that is built with the packages hears nothing"
inside apt-get remove -y -qq libferrowcore-avx2-0 >> "$work/apt.log" 2>&1 || fail "the packages cannot be removed"
inside sh -c 'command -v ferrow' && fail "ferrow stays"
echo "installed, heard $(grep -c signal_db <<< "$heard") readings and left"
