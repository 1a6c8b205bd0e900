# Two commands matter: `make run` and `make test`. Both install what is missing first.
BUILD_DIR ?= build
RELEASE_DIR ?= build-release
FUZZ_DIR ?= build-fuzz
FUZZ_SECONDS ?= 60
GENERATOR := -G Ninja
JOBS ?= $(shell nproc 2>/dev/null || sysctl -n hw.ncpu)

.PHONY: deps test run build release bench bench-ui fuzz format clean

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

# The readers' fuzz targets: libFuzzer needs clang, so they build in a folder of their own.
$(FUZZ_DIR)/build.ninja: CMakeLists.txt
	cmake -S . -B $(FUZZ_DIR) $(GENERATOR) -DCMAKE_BUILD_TYPE=RelWithDebInfo \
	  -DCMAKE_CXX_COMPILER=clang++ -DCORVANE_FUZZ=ON -DCORVANE_BUILD_TESTS=OFF

fuzz: deps $(FUZZ_DIR)/build.ninja
	cmake --build $(FUZZ_DIR) -j $(JOBS) --target corvane_fuzz_targets
	FUZZ_SECONDS=$(FUZZ_SECONDS) scripts/fuzz.sh $(FUZZ_DIR)

format:
	clang-format -i $$(git ls-files '*.cpp' '*.h' '*.mm')

clean:
	rm -rf $(BUILD_DIR) $(RELEASE_DIR) $(FUZZ_DIR)
