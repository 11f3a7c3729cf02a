#!/bin/bash
# Runs a command of this checkout in a minimal Debian system.
#
#   scripts/clean-root.sh [--release NAME] [--user] [COMMAND [ARGUMENT...]]
#
#   --release NAME   bookworm (Debian 12) or trixie (Debian 13). Default: the one that this system
#                    is not
#   --user           as an ordinary user with sudo. Default: as root
#
#   scripts/clean-root.sh                                  all tests on the other release
#   scripts/clean-root.sh --release trixie .ci/run         what CI runs there
#   scripts/clean-root.sh --user scripts/run.sh --for 4
#
# The last commit is cloned into the new system, without build/ and out/. The command installs the
# packages it needs. The system is in build/clean-root; it is created again each time, and kept for
# inspection. No process survives the command. Needs root or sudo, and the network.

# shellcheck source=scripts/lib.sh
. "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

release=trixie
! grep -qs '^VERSION_CODENAME=trixie$' /etc/os-release || release=bookworm
user=root
while [ $# -gt 0 ]; do
    case $1 in
        -h | --help) show_help && exit ;;
        --release)
            [[ ${2:-} =~ ^(bookworm|trixie)$ ]] || die "--release takes bookworm or trixie"
            release=$2
            shift
            ;;
        --user) user=builder ;;
        -*) die "unknown argument: $1 (see --help)" ;;
        *) break ;;
    esac
    shift
done
[ $# -gt 0 ] || set -- scripts/test.sh

system=$root/build/clean-root/$release

# The mirror of this system's packages.
# shellcheck disable=SC2016,SC2317 # the fields are apt's; called by make_system
mirror() {
    apt-get indextargets --format '$(REPO_URI) $(RELEASE)' 'Created-By: Packages' |
        awk '$2 !~ /-/ { print $1; exit }'
}

# shellcheck disable=SC2317 # called by its name
make_system() {
    as_root rm -rf "$system" &&
        mkdir -p "${system%/*}" &&
        as_root mmdebstrap --variant=minbase --include=ca-certificates,git,sudo "$release" "$system" \
            "$(mirror)" &&
        as_root git -c safe.directory='*' clone -q "file://$root" "$system/checkout" &&
        as_root cp /etc/resolv.conf "$system/etc/" || return
    if [ "$user" != root ]; then
        as_root chroot "$system" useradd -m "$user" &&
            echo "$user ALL=(ALL) NOPASSWD: ALL" | as_root tee "$system/etc/sudoers.d/$user" &&
            as_root chroot "$system" chown -R "$user:" /checkout
    fi
}

heading "Preparing a minimal Debian ($release)"
need_packages mmdebstrap git
quietly system make_system

# In separate mount and process namespaces, which end with the command.
# shellcheck disable=SC2016 # expanded by the inner shell
in_system='
    system=$1 user=$2
    shift 2
    mount -t proc proc "$system/proc" &&
        mount --rbind /sys "$system/sys" &&
        mount --rbind /dev "$system/dev" &&
        exec chroot "$system" runuser -u "$user" -- env -i PATH="$PATH" TERM="${TERM:-dumb}" \
            HOME="/$user" env -C /checkout "$@"'
field command "$*"
sudo=()
[ "$(id -u)" -eq 0 ] || sudo=(sudo)
began=$SECONDS status=0
"${sudo[@]}" unshare --mount --pid --fork --kill-child bash -c "$in_system" clean-root \
    "$system" "$user" "$@" || status=$?
echo
field took "$((SECONDS - began)) s"
field "exit code" "$status"
exit "$status"
