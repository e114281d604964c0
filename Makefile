# Convenience entry points; everything real lives in CMake.
#   make check   installs what is missing, builds, runs every test
#   make demo    installs what is missing, builds, backs up a sample tree
#   make asan    the core tests under AddressSanitizer and UndefinedBehaviorSanitizer
#   make deb     the Debian package (build/tessaron_*.deb), checked by scripts/check-deb.sh
BUILD ?= build
JOBS ?= $(shell nproc)
CMAKE_FLAGS ?=

.PHONY: deps build check demo asan deb package format clean

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

deb: build
	cd $(BUILD) && cpack -G DEB
	scripts/check-deb.sh

package: deb

format:
	clang-format -i $$(git ls-files '*.cpp' '*.h')

clean:
	rm -rf $(BUILD) $(BUILD)-asan
