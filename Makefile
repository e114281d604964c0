# Convenience entry points; everything real lives in CMake.
#   make check   installs what is missing, builds, runs every test
#   make demo    installs what is missing, builds, backs up a sample tree
#   make asan    the core tests under AddressSanitizer and UndefinedBehaviorSanitizer
#   make fuzz    every fuzz target for a minute (fuzz-smoke: 10 seconds each), built with
#                clang, libFuzzer, AddressSanitizer and UndefinedBehaviorSanitizer
#   make windows        cross-builds the Windows program and tests (MinGW-w64)
#   make check-windows  runs the Windows tests under Wine, headless
BUILD ?= build
FUZZ_BUILD ?= build-fuzz
WINBUILD ?= build-windows
JOBS ?= $(shell nproc)
CMAKE_FLAGS ?=

.PHONY: deps build check demo asan fuzz-build fuzz fuzz-smoke format clean deps-windows windows \
	check-windows

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

windows: deps-windows
	cmake -S . -B $(WINBUILD) -DCMAKE_TOOLCHAIN_FILE=cmake/MinGW64.toolchain.cmake \
	    -DTESSARON_WERROR=ON $(CMAKE_FLAGS)
	cmake --build $(WINBUILD) -j $(JOBS)

check-windows: windows
	scripts/check-windows.sh $(WINBUILD) $(JOBS)

format:
	clang-format -i $$(git ls-files '*.cpp' '*.h')

clean:
	rm -rf $(BUILD) $(BUILD)-asan $(FUZZ_BUILD) $(WINBUILD)
