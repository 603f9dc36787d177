# How the scripts build: sourced by them, in the root of the tree, once the packages are installed.
#
# Where ccache is installed, what was compiled once is not compiled again, also in another checkout: paths below the
# checkout do not matter to it, and its folder is outside.
# shellcheck shell=bash
if command -v ccache >/dev/null; then
    export CMAKE_C_COMPILER_LAUNCHER=ccache CMAKE_CXX_COMPILER_LAUNCHER=ccache
    export CCACHE_BASEDIR=$PWD CCACHE_NOHASHDIR=1
fi

# build PRESET [TARGET...]: all targets unless some are named. Tells how far it is.
build() {
    local preset=$1 log=build/$1.log begin=$SECONDS targets=()
    shift
    if [ $# -gt 0 ]; then
        targets=(--target "$@")
    fi
    mkdir -p build
    echo "Building ${*:-everything} in build/$preset"
    if ! cmake --preset "$preset" >"$log" 2>&1; then
        cat "$log" >&2
        return 1
    fi
    NINJA_STATUS='  %f of %t, %e s: ' cmake --build --preset "$preset" "${targets[@]}"
    echo "Built in $((SECONDS - begin)) s."
}

# run_tests PRESET TESTS-PER-CORE [CTEST-OPTION...]: runs tests that are built, then names the slowest. Many wait for the
# programs that they test, so that more of them run at a time than there are cores.
run_tests() {
    local preset=$1 jobs=$(($2 * $(nproc))) log=build/$1-tests.log status=0
    shift 2
    ctest --preset "$preset" -j "$jobs" "$@" | tee "$log" || status=$?
    echo
    echo "The slowest:"
    sed -nE 's/^ *[0-9]+\/[0-9]+ Test +#[0-9]+: ([^ ]+) .* ([0-9.]+) sec$/\2 \1/p' "$log" | sort -rn |
        awk 'NR <= 10 { printf "%8s s  %s\n", $1, $2 }'
    echo
    grep -aE '^[0-9]+% tests passed|^Total Test time' "$log" || true
    return $status
}
