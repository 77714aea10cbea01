# A folder with nothing but Debian's minimal system, for scripts that prove something in one; sourced
# after setup.sh. Needs root and debootstrap.

# Starts the calling script again with mounts of its own: they, debootstrap's own among them, are seen
# by that process and its children only and end with them, so that nothing of the machine can be reached
# through a mount below a folder that is deleted in the end. Fails where this process may not mount.
#   enter_private_mounts "$0" "$@"
enter_private_mounts() {
    [ -z "${VORNAK_PRIVATE_MOUNTS:-}" ] || return 0
    unshare --mount --propagation private true 2>/dev/null || return 1
    VORNAK_PRIVATE_MOUNTS=1 exec unshare --mount --propagation private "$@"
}

# Where a suite's packages come from: the mirrors that this machine has its own from. A line each, of
# address and suite. A mirror by https would need certificates that are not in the folder.
bare_debian_mirrors() {
    apt-get indextargets --format '$(SITE) $(CODENAME)' 'Created-By: Packages' |
        sed -nE "s/^(http:[^ ]+) (bookworm|trixie)(-updates|-security)?\$/\\1 $1\\3/p" | sort -u
}

# Makes the folder, with package lists. Fails, with a line that says why.
make_bare_debian() {
    local suite=$1 folder=$2 mirror
    mirror=$(bare_debian_mirrors "$suite" | sed -n "s/ $suite\$//p" | head -n 1)
    [ -n "$mirror" ] || { say "apt knows no mirror of $suite by http" >&2; return 1; }
    say "Making a bare $suite"
    debootstrap --variant=minbase "$suite" "$folder" "$mirror" >"$folder.log" 2>&1 || {
        say "debootstrap failed: $(tail -n 1 "$folder.log")" >&2
        return 1
    }
    umount --recursive "$folder/proc" "$folder/sys" 2>/dev/null || true
    bare_debian_mirrors "$suite" | sed 's/^/deb /; s/$/ main/' >"$folder/etc/apt/sources.list"
    cp /etc/resolv.conf "$folder/etc/resolv.conf"
    chroot "$folder" apt-get -q update >"$folder.log" 2>&1 || {
        say "the package lists cannot be had: $(grep '^E:' "$folder.log" | head -n 1)" >&2
        return 1
    }
    rm -f "$folder.log"
}
