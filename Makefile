# Every target installs what is missing first, so a fresh machine needs nothing else.
JOBS ?= $(shell nproc)
CMAKE_FLAGS ?=
PREFIX ?= /usr/local
DESTDIR ?=

.PHONY: all setup build build-asan test demo bench fuzz fuzz-run clean install uninstall

all: build

setup:
	@bash scripts/setup.sh

build: setup
	@cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo $(CMAKE_FLAGS) > /dev/null
	@cmake --build build -j$(JOBS)

build-asan: setup
	@cmake -S . -B build-asan -DCMAKE_BUILD_TYPE=Debug -DKIVU_SANITIZE=ON $(CMAKE_FLAGS) > /dev/null
	@cmake --build build-asan -j$(JOBS)

# Runs the whole suite twice: on the normal build and on the sanitizer build.
# A sanitizer report aborts the process, so it fails the test that caused it.
test: build build-asan
	@echo "== tests (normal build) =="
	@cd build && ctest --output-on-failure -j$(JOBS)
	@echo "== tests (AddressSanitizer + UndefinedBehaviorSanitizer) =="
	@cd build-asan && ASAN_OPTIONS=halt_on_error=1:detect_leaks=1:abort_on_error=0 \
	  UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1 \
	  ctest --output-on-failure -j$(JOBS)

demo: build
	@bash scripts/demo.sh

bench: build
	@./build/kivuimg_bench

fuzz: setup
	@cmake -S . -B build-fuzz -DKIVU_FUZZ=ON -DCMAKE_CXX_COMPILER=clang++ > /dev/null
	@cmake --build build-fuzz -j$(JOBS)

# Every fuzz target for FUZZ_SECONDS (default 60), FUZZ_JOBS (default 2) at a
# time, from its starting corpus and dictionary: see scripts/fuzz_run.sh.
fuzz-run: fuzz
	@bash scripts/fuzz_run.sh

# Installs a Release build, stripped, under $(DESTDIR)$(PREFIX): the
# library and the tool only, no tests and no benchmarks are built.
# build-release/install_manifest.txt lists every file written, and uninstall
# (with the same DESTDIR) removes exactly those.
install:
	@bash scripts/setup.sh build
	@cmake -S . -B build-release -DCMAKE_BUILD_TYPE=Release -DKIVU_TESTS=OFF -DKIVU_BENCH=OFF $(CMAKE_FLAGS) > /dev/null
	@cmake --build build-release -j$(JOBS) --target kivuimg_lib kivuimg_tool
	@DESTDIR="$(DESTDIR)" cmake --install build-release --prefix "$(PREFIX)" --strip

uninstall:
	@DESTDIR="$(DESTDIR)" bash scripts/uninstall.sh build-release/install_manifest.txt

clean:
	rm -rf build build-asan build-release build-fuzz out
