# Building static libsodium for Windows from Debian 13's source package; sourced after setup.sh and
# debian-source.sh.

# The notices that are shipped stand in the repository; they must be those of the sources.
#   check_notices PACKAGE SOURCE-FOLDER NAME
check_notices() {
    cmp -s "$2/debian/copyright" "$root/packaging/windows/licences/$3" ||
        die "the copyright notices of $1 have changed: take $2/debian/copyright over" \
            "as packaging/windows/licences/$3"
}

# Installs the library into a folder, unless it is there, and works in another one, where log and sources
# stay.
#   build_libsodium WORK PREFIX
build_libsodium() {
    local work=$1 prefix=$2 triplet=x86_64-w64-mingw32
    [ ! -f "$prefix/lib/libsodium.a" ] || return 0
    mkdir -p "$work"
    use_debian_sources "$work/apt" || die "the sources cannot be had"
    fetch_source libsodium "$work/libsodium-source" || die "there is nothing to build libsodium from"
    check_notices libsodium "$work/libsodium-source" libsodium.txt
    say "Building libsodium"
    rm -rf "$work/libsodium-build"
    mkdir "$work/libsodium-build"
    # Debian's source comes without the generated files. Its autogen.sh would fetch some from the
    # network.
    (cd "$work/libsodium-source" && autoreconf --install --force &&
        cd "$work/libsodium-build" &&
        "$work/libsodium-source/configure" --host=$triplet --prefix="$prefix" \
            --disable-shared --enable-static \
            CC=$triplet-gcc-posix CFLAGS="-g -O2 -ffile-prefix-map=$work=/windows-dependencies" &&
        make -j"$(nproc)" && make install) >"$work/libsodium.log" 2>&1 || {
        tail -n 40 "$work/libsodium.log" >&2
        die "libsodium cannot be built"
    }
}
