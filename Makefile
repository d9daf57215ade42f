# Front door. `make demo` builds and runs the main job on an embedded store; `make test` builds
# with warnings as errors and runs every test, then again under ASan and UBSan.
BUILD      ?= build
ASAN_BUILD ?= build-asan
JOBS       ?= $(shell nproc)
CMAKE_FLAGS ?=

.PHONY: all deps build demo test test-plain test-sanitize bench install clean format

all: build

deps:
	@scripts/install-deps

build: deps
	@cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DKORVANE_WERROR=ON $(CMAKE_FLAGS) >/dev/null
	@cmake --build $(BUILD) -j$(JOBS)

demo: build
	@$(BUILD)/tools/korvane demo

test: test-plain test-sanitize

test-plain: build
	@scripts/run-tests $(BUILD)

test-sanitize: deps
	@cmake -S . -B $(ASAN_BUILD) -DCMAKE_BUILD_TYPE=Debug -DKORVANE_WERROR=ON -DKORVANE_SANITIZE=ON $(CMAKE_FLAGS) >/dev/null
	@cmake --build $(ASAN_BUILD) -j$(JOBS)
	@scripts/run-tests $(ASAN_BUILD)

bench: deps
	@cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=Release -DKORVANE_BENCH=ON $(CMAKE_FLAGS) >/dev/null
	@cmake --build $(BUILD) -j$(JOBS)
	@if [ -x $(BUILD)/bench/korvane_bench ]; then $(BUILD)/bench/korvane_bench; else echo "no benchmarks yet"; fi

install: build
	@cmake --install $(BUILD)

format:
	@find src tools tests bench -name '*.cpp' -o -name '*.hpp' | xargs clang-format -i

clean:
	@rm -rf $(BUILD) $(ASAN_BUILD)
