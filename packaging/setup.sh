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

as_root() {
    if [ "$(id -u)" = 0 ]; then
        "$@"
    elif command -v sudo >/dev/null; then
        sudo "$@"
    else
        die "packages are missing and this needs root; as root, run: $*"
    fi
}

# Installs what is missing of the packages that the given list names.
install_packages() {
    local list=$1 missing=() package
    while read -r package; do
        dpkg-query -W -f '${Status}' "$package" 2>/dev/null | grep -q 'install ok installed' ||
            missing+=("$package")
    done < <(grep -v '^#' "$list")
    if [ ${#missing[@]} = 0 ]; then
        say "Debian packages: all there"
        return
    fi
    say "Debian packages: installing ${missing[*]}"
    as_root apt-get -q update
    as_root env DEBIAN_FRONTEND=noninteractive \
        apt-get -q install -y --no-install-recommends "${missing[@]}"
}

# Configures and builds a preset; quick when nothing has changed.
build_preset() {
    local preset=$1
    say "Building preset $preset"
    local output
    output=$(cd "$root" && cmake --preset "$preset" 2>&1) || {
        printf '%s\n' "$output" >&2
        die "configuring failed"
    }
    (cd "$root" && cmake --build --preset "$preset")
}
