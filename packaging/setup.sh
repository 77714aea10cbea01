# Shared by the commands "demo", "test" and CI's run; sourced, not run. Sets `root`, the top folder.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

say() {
    printf '==> %s\n' "$*"
}

die() {
    printf '%s: %s\n' "${0##*/}" "$*" >&2
    exit 1
}

# Installs what is missing of the packages that the given list names. On a system without Debian's
# package tools, says what is needed and leaves the rest to its owner.
install_packages() {
    local list=$1 missing=() package
    if ! command -v dpkg-query >/dev/null || ! command -v apt-get >/dev/null; then
        say "No Debian package tools here; needed are what Debian calls:" \
            "$(grep -v '^#' "$list" | xargs)"
        return
    fi
    while read -r package; do
        dpkg-query -W -f '${Status}' "$package" 2>/dev/null | grep -q 'install ok installed' ||
            missing+=("$package")
    done < <(grep -v '^#' "$list")
    if [ ${#missing[@]} = 0 ]; then
        say "Debian packages of ${list#"$root"/}: all there"
        return
    fi
    local install=("$root/packaging/install-packages" "${missing[@]}")
    if [ "$(id -u)" = 0 ]; then
        say "Debian packages: installing ${missing[*]}"
        "${install[@]}"
    elif command -v sudo >/dev/null; then
        say "Debian packages: installing ${missing[*]}, with sudo"
        sudo "${install[@]}"
    else
        die "packages are missing. As root, run this line, then try again:
$(printf '%q ' "${install[@]}")"
    fi
}

# Configures and builds a preset; quick when nothing has changed.
#   VORNAK_WARNINGS_AS_ERRORS=ON   a warning of the compiler fails the build, as it does in CI
build_preset() {
    local preset=$1
    "$root/packaging/liblzma"
    say "Building preset $preset"
    local output
    output=$(cd "$root" && cmake --preset "$preset" \
        -DVORNAK_WARNINGS_AS_ERRORS="${VORNAK_WARNINGS_AS_ERRORS:-OFF}" 2>&1) || {
        printf '%s\n' "$output" >&2
        die "configuring failed"
    }
    (cd "$root" && cmake --build --preset "$preset")
}
