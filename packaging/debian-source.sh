# Fetching Debian 13's packages on Debian 12 or 13, for scripts that build a library from them; sourced
# after setup.sh. The machine's own package lists are neither used nor changed: everything lies in the
# folder that use_debian_sources is given. Signatures are checked with the machine's keys.

# Prints the version that packaging/source-versions names for a package.
source_version() {
    local version
    version=$(sed -n "s/^$1 //p" "$root/packaging/source-versions")
    [ -n "$version" ] || die "packaging/source-versions does not name $1"
    printf '%s\n' "$version"
}

private_apt() {
    "$@" -o Dir::Etc::SourceList="$apt_state/sources.list" \
        -o Dir::Etc::SourceParts="$apt_state/empty" -o Dir::Etc::Preferences=/dev/null \
        -o Dir::Etc::PreferencesParts="$apt_state/empty" \
        -o Dir::State::Lists="$apt_state/lists" -o Dir::Cache="$apt_state/cache"
}

# Makes the private lists in the given folder, from the mirrors that the machine has its own packages
# from. Fails, with a line that says why, when that cannot be done.
use_debian_sources() {
    apt_state=$1
    mkdir -p "$apt_state/lists/partial" "$apt_state/cache/archives/partial" "$apt_state/empty"
    [ ! -e "$apt_state/fetched" ] || return 0
    command -v apt-get >/dev/null || { say "Debian's package tools are missing" >&2; return 1; }
    apt-get indextargets --format '$(SITE) $(CODENAME)' 'Created-By: Packages' |
        sed -nE 's/^([^ ]+) (bookworm|trixie)(-updates|-security)?$/\1 trixie\3 main/p' | sort -u |
        sed 's/.*/deb &\ndeb-src &/' >"$apt_state/sources.list"
    [ -s "$apt_state/sources.list" ] || { say "apt knows no mirror of Debian" >&2; return 1; }
    private_apt apt-get -q -o APT::Update::Error-Mode=any update >"$apt_state/update.log" 2>&1 || {
        say "Debian's package lists cannot be had: $(grep '^[EW]:' "$apt_state/update.log" | head -n 1)" >&2
        return 1
    }
    touch "$apt_state/fetched"
}

# The version wanted, then what else of its series is listed on standard input, newest first: the
# archive drops a version when it has a later one, and a mirror may list what it does not hold yet.
versions_to_try() {
    local wanted=$1 series
    series=$(printf '%s\n' "$wanted" | sed -E 's/^([0-9]+\.[0-9]+\.).*/\1/')
    printf '%s\n' "$wanted"
    awk -v series="$series" -v wanted="$wanted" '$0 != wanted && index($0, series) == 1' | sort -ruV
}

# Unpacks the source of a package into a folder, which is there only when it is whole. Fails, with a
# line that says so, when no version of the series can be had.
fetch_source() {
    local package=$1 folder=$2 wanted version download
    [ ! -d "$folder" ] || return 0
    wanted=$(source_version "$package")
    download=$apt_state/$package
    while read -r version; do
        say "Fetching the source of $package $version"
        rm -rf "$download" "$folder.partial"
        mkdir -p "$download"
        if (cd "$download" && private_apt apt-get -q source --download-only "$package=$version") \
            >"$download.log" 2>&1; then
            dpkg-source --no-check --extract "$download"/*.dsc "$folder.partial" >"$download.log" 2>&1
            rm -rf "$download"
            mv "$folder.partial" "$folder"
            return 0
        fi
    done < <(private_apt apt-cache showsrc --only-source "$package" 2>/dev/null |
        sed -n 's/^Version: //p' | versions_to_try "$wanted")
    say "The source of $package $wanted cannot be had: $(grep '^E:' "$download.log" | head -n 1)" >&2
    return 1
}

# Unpacks a package for all architectures into a folder.
fetch_package() {
    local package=$1 version=$2 folder=$3 download=$apt_state/$1
    [ ! -d "$folder" ] || return 0
    say "Fetching $package $version"
    rm -rf "$download" "$folder.partial"
    mkdir -p "$download"
    (cd "$download" && private_apt apt-get -q download "$package=$version") >"$download.log" 2>&1 || {
        say "$package $version cannot be had: $(grep '^E:' "$download.log" | head -n 1)" >&2
        return 1
    }
    dpkg-deb --extract "$download"/*.deb "$folder.partial"
    rm -rf "$download"
    mv "$folder.partial" "$folder"
}
