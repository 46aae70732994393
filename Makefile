# Thin wrapper over CMake presets. `make run` and `make test` are the two
# commands a fresh machine needs; both install what is missing first.
FUZZ_SECONDS ?= 60
JOBS ?= $(shell nproc)

.PHONY: all deps build run test test-asan build-asan fuzz bench bench-mc format clean \
        install-check package deb abi-update

all: build

deps:
	@bash scripts/deps.sh

build: deps
	@cmake --preset default >/dev/null
	@cmake --build --preset default -j $(JOBS)

run: build
	@./build/default/canal demo

test: build
	@ctest --preset default

build-asan: deps
	@cmake --preset asan >/dev/null
	@cmake --build --preset asan -j $(JOBS)

test-asan: build-asan
	@ctest --preset asan

fuzz: deps
	@cmake --preset fuzz >/dev/null
	@cmake --build --preset fuzz -j $(JOBS) --target fuzz_property_text
	@mkdir -p build/fuzz/corpus
	@cp -n fuzz/corpus/* build/fuzz/corpus/ 2>/dev/null || true
	@./build/fuzz/fuzz/fuzz_property_text -max_total_time=$(FUZZ_SECONDS) -max_len=4096 \
	    -print_final_stats=1 build/fuzz/corpus

bench: build
	@./build/default/bench/canal_bench

# Whole processes, wall time: ngspice's own 500-run Monte Carlo loop against canal run MONTE with
# one and two jobs, and canal's fixed costs. BENCH_REPEAT runs of each, the median reported.
BENCH_REPEAT ?= 7
bench-mc: build
	@./build/default/bench/canal_bench_mc --repeat $(BENCH_REPEAT)

# Installs into a temporary prefix and builds and runs examples/embed against it, through
# find_package(canal) and through pkg-config.
install-check: build
	@scripts/install-check.sh build/default

# The Debian package (libraries, headers, tool) from its own build under /usr; lists what it holds.
package: deps
	@cmake --preset package >/dev/null
	@cmake --build --preset package -j $(JOBS)
	@cpack --preset package
	@deb=$$(ls -t build/package/canal_*.deb | head -n 1) && dpkg-deb --info $$deb && \
	    dpkg-deb --contents $$deb

deb: package

# After an intended change of what the libraries export: rebuilds and copies the symbol lists
# of the build over those committed under abi/.
abi-update: build
	@cmake --build --preset default --target abi-update

format:
	@git ls-files '*.cpp' '*.h' | xargs clang-format -i

clean:
	@rm -rf build
