#!/usr/bin/env bash
# Installs a build into a temporary prefix and uses it from outside, the way a host project
# would: every installed header compiles with only the installed include paths, the embedding
# example builds through find_package(canal) and through pkg-config and runs its Monte Carlo on
# libngspice, a host with a simulator of its own links libcanal alone, and the installed tool runs
# from its prefix with its manual page and examples.
#   scripts/install-check.sh [BUILD_FOLDER]      (default build/default)
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build/default}
source_dir=$PWD

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
trap 'echo "install-check: failed at line $LINENO" >&2' ERR
prefix=$work/prefix
step() { printf 'install-check: %s\n' "$*"; }

step "installing $build into a temporary prefix"
cmake --install "$build" --prefix "$prefix" >/dev/null
libdir=$(dirname "$(find "$prefix" -name 'libcanal.so' -print -quit)")
export PKG_CONFIG_PATH=$libdir/pkgconfig

step "every installed header compiles with the installed include paths alone"
(cd "$prefix/include/canal" && find . -name '*.h' | sed 's|^\./|#include "|; s|$|"|' | sort) \
    >"$work/all_headers.cpp"
g++ -std=c++20 -fsyntax-only $(pkg-config --cflags canal-ngspice) "$work/all_headers.cpp"

step "the embedding example through find_package(canal)"
cmake -S examples/embed -B "$work/embed-cmake" -G Ninja -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$work/embed-cmake" >/dev/null
tests/install/embed_check.sh "$work/embed-cmake/canal-embed" examples/embed

step "the embedding example through pkg-config"
g++ -std=c++20 examples/embed/main.cpp $(pkg-config --cflags --libs canal-ngspice) \
    -Wl,-rpath,"$libdir" -o "$work/canal-embed-pc"
tests/install/embed_check.sh "$work/canal-embed-pc" examples/embed

step "a host with a simulator of its own links libcanal alone"
cat >"$work/own_simulator.cpp" <<'EOF'
#include <canal/analyses/core/analyses.h>
#include <canal/analyses/single/ac.h>
#include <cstdio>
int main() {
    Analyses analyses(nullptr);
    std::puts(analyses.GetAc().toNutmegCommand(Analyses::Analysis::NT_COMMAND).c_str());
}
EOF
g++ -std=c++20 "$work/own_simulator.cpp" $(pkg-config --cflags --libs canal) \
    -Wl,-rpath,"$libdir" -o "$work/own_simulator"
grep -q 'ac  -env-options dec 10 1 1e+10 $' <<<"$("$work/own_simulator")"
needed=$(readelf -d "$work/own_simulator" | grep NEEDED)
grep -q 'libcanal\.so\.' <<<"$needed"
if grep -q 'ngspice' <<<"$needed"; then
    echo "install-check: a libcanal-only host needs ngspice: $needed" >&2
    exit 1
fi

step "the installed tool, its manual page and its examples"
"$prefix/bin/canal" --version
commands=$("$prefix/bin/canal" --help | awk '/^Commands:/ { on = 1; next } on && !NF { exit } on { print $1 }')
manual=$prefix/share/man/man1/canal.1
for command in $commands; do
    grep -qx ".SS $command" "$manual"
done
[ -f "$prefix/share/bash-completion/completions/canal" ]
(cd "$work" && env -u CANAL_EXAMPLES "$prefix/bin/canal" demo --out demo >/dev/null)
[ -s "$work/demo/report.html" ]

step "passed ($source_dir)"
