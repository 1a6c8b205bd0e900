# Two commands matter: `make run` and `make test`. Both install what is missing first.
BUILD_DIR ?= build
RELEASE_DIR ?= build-release
GENERATOR := -G Ninja
JOBS ?= $(shell nproc 2>/dev/null || sysctl -n hw.ncpu)

.PHONY: deps test run build release bench bench-ui format clean

deps:
	@scripts/install-deps.sh

$(BUILD_DIR)/build.ninja: CMakeLists.txt
	cmake -S . -B $(BUILD_DIR) $(GENERATOR) -DCMAKE_BUILD_TYPE=Debug -DCORVANE_SANITIZE=ON

build: deps $(BUILD_DIR)/build.ninja
	cmake --build $(BUILD_DIR) -j $(JOBS)

test: build
	cd $(BUILD_DIR) && ctest --output-on-failure -j $(JOBS)

$(RELEASE_DIR)/build.ninja: CMakeLists.txt
	cmake -S . -B $(RELEASE_DIR) $(GENERATOR) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCORVANE_BUILD_TESTS=OFF

release: deps $(RELEASE_DIR)/build.ninja
	cmake --build $(RELEASE_DIR) -j $(JOBS)

run: release
	@scripts/run.sh $(RELEASE_DIR)

bench: release
	@bench/run-bench.sh $(RELEASE_DIR)

bench-ui: release
	@bench/run-ui-bench.sh $(RELEASE_DIR)

format:
	clang-format -i $$(git ls-files '*.cpp' '*.h' '*.mm')

clean:
	rm -rf $(BUILD_DIR) $(RELEASE_DIR)
