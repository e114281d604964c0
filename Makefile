# Convenience entry points; everything real lives in CMake.
#   make check   installs what is missing, builds, runs every test
#   make demo    installs what is missing, builds, backs up a sample tree
#   make asan    the core tests under AddressSanitizer and UndefinedBehaviorSanitizer
#   make coverage  every test on a Debug build with --coverage (build-coverage, window off),
#                then gcovr's line and branch coverage of src/: the core, each of its layers,
#                src/ui and src/app (scripts/coverage.sh)
#   make count   lines of tests/ against src/ (scripts/count-lines.sh)
#   make deb     the Debian package (build/tessaron_*.deb), checked by scripts/check-deb.sh
#   make fuzz    every fuzz target for a minute (fuzz-smoke: 10 seconds each), built with
#                clang, libFuzzer, AddressSanitizer and UndefinedBehaviorSanitizer
#   make windows        cross-builds tessaron.exe and the tests (MinGW-w64, Release)
#   make check-windows  the same, then runs the Windows tests under Wine, headless
#   make windows-installer  the same, then the installer (NSIS) and the portable zip:
#                       build-windows/tessaron-setup-<version>.exe, tessaron-<version>-portable.zip
#   make check-installer    installs silently under Wine, runs /RUN, uninstalls silently
BUILD ?= build
COVERAGE_BUILD ?= build-coverage
FUZZ_BUILD ?= build-fuzz
WINBUILD ?= build-windows
JOBS ?= $(shell nproc)
CMAKE_FLAGS ?=

.PHONY: deps build check demo asan coverage count deb package fuzz-build fuzz fuzz-smoke format \
	clean deps-windows windows check-windows windows-installer check-installer

deps:
	@scripts/install-deps.sh

build: deps
	cmake -S . -B $(BUILD) -DTESSARON_WERROR=ON $(CMAKE_FLAGS)
	cmake --build $(BUILD) -j $(JOBS)

check: build
	cd $(BUILD) && ctest --output-on-failure -j $(JOBS)

demo: build
	@scripts/demo.sh $(BUILD)

asan: deps
	cmake -S . -B $(BUILD)-asan -DTESSARON_WERROR=ON -DTESSARON_SANITIZE=ON -DTESSARON_GUI=OFF $(CMAKE_FLAGS)
	cmake --build $(BUILD)-asan -j $(JOBS) --target tessaron_all_core_tests
	cd $(BUILD)-asan && ctest --output-on-failure -j $(JOBS) -L core

coverage:
	@scripts/install-deps.sh --coverage
	scripts/coverage.sh $(COVERAGE_BUILD) $(JOBS)

count:
	@scripts/count-lines.sh

deb: build
	cd $(BUILD) && cpack -G DEB
	scripts/check-deb.sh $(BUILD)

package: deb

fuzz-build: deps
	cmake -S . -B $(FUZZ_BUILD) -DCMAKE_CXX_COMPILER=clang++-14 -DTESSARON_FUZZ=ON \
		-DTESSARON_SANITIZE=ON -DTESSARON_WERROR=ON -DTESSARON_TESTS=OFF -DTESSARON_GUI=OFF
	cmake --build $(FUZZ_BUILD) -j $(JOBS) --target tessaron_fuzzers

fuzz: fuzz-build
	fuzz/run $(FUZZ_BUILD) 60

fuzz-smoke: fuzz-build
	fuzz/run $(FUZZ_BUILD) 10

deps-windows:
	@scripts/install-deps.sh --windows

# Release: the program as it ships (optimised, no debug information: a third less
# compiling than with it, and a fifth of the size).
windows: deps-windows
	cmake -S . -B $(WINBUILD) -DCMAKE_TOOLCHAIN_FILE=cmake/MinGW64.toolchain.cmake \
	    -DCMAKE_BUILD_TYPE=Release -DTESSARON_WERROR=ON $(CMAKE_FLAGS)
	cmake --build $(WINBUILD) -j $(JOBS)

check-windows: windows
	scripts/check-windows.sh $(WINBUILD) $(JOBS)

windows-installer: windows
	cmake --build $(WINBUILD) --target installer

check-installer: windows-installer
	scripts/check-installer.sh $(WINBUILD)

format:
	clang-format -i $$(git ls-files '*.cpp' '*.h')

clean:
	rm -rf $(BUILD) $(BUILD)-asan $(COVERAGE_BUILD) $(FUZZ_BUILD) $(WINBUILD)
