# Sourced by ./kelvane, ./test and .ci/run: installs what is missing, on Debian and its relatives, and builds presets.

buildPackages="g++ cmake ninja-build libsimdjson-dev libutf8proc-dev libcli11-dev zlib1g-dev libzstd-dev"
testPackages="libgtest-dev python3"

# Installs those of the packages that are not there yet; says nothing when all are.
installMissing() {
    command -v dpkg-query >/dev/null || {
        echo "This is no Debian system: please install the equivalents of: $*" >&2
        return 0
    }
    missing=""
    for package in "$@"; do
        dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "ok installed" || missing="$missing $package"
    done
    [ -z "$missing" ] && return 0
    echo "Installing:$missing" >&2
    asRoot=""
    [ "$(id -u)" -eq 0 ] || asRoot="sudo"
    mkdir -p build
    # shellcheck disable=SC2086 # lists of words
    if ! { $asRoot apt-get update -qq &&
        $asRoot env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq $missing; } >build/packages.log 2>&1; then
        cat build/packages.log >&2
        echo "The packages could not be installed:$missing" >&2
        return 1
    fi
}

# buildPreset PRESET [ARGUMENTS OF cmake --build ...]: configures a preset on first use and builds it, quietly unless
# that fails. A second caller waits for the first.
buildPreset() {
    preset=$1
    shift
    mkdir -p build
    [ -f "build/$preset/build.ninja" ] || echo "Building ($preset); this happens once ..." >&2
    if ! (
        flock 9
        { [ -f "build/$preset/build.ninja" ] || cmake --preset "$preset"; } && cmake --build --preset "$preset" "$@"
    ) 9>"build/$preset.lock" >"build/$preset.log" 2>&1; then
        cat "build/$preset.log" >&2
        echo "The build failed." >&2
        return 1
    fi
}
