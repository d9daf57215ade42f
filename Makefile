# Front door. `make demo` builds and runs the main job on an embedded store; `make test` builds
# with warnings as errors and runs every test, then again under ASan and UBSan, then gives each
# parser a short fuzzing run. `make fuzz` fuzzes each parser for longer.
BUILD      ?= build
ASAN_BUILD ?= build-asan
FUZZ_BUILD ?= build-fuzz
BENCH_BUILD ?= build-bench
JOBS       ?= $(shell nproc)
CMAKE_FLAGS ?=
FUZZ_TARGETS ?= companion filter shape connection dialect import literals
FUZZ_SECONDS ?= 60

.PHONY: all deps build demo test test-plain test-sanitize test-fuzz fuzz fuzz-build bench install \
        clean format

all: build

deps:
	@scripts/install-deps

build: deps
	@cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DKORVANE_WERROR=ON $(CMAKE_FLAGS) >/dev/null
	@cmake --build $(BUILD) -j$(JOBS)

demo: build
	@$(BUILD)/tools/korvane demo

test: test-plain test-sanitize test-fuzz

test-plain: build
	@scripts/run-tests $(BUILD)

test-sanitize: deps
	@cmake -S . -B $(ASAN_BUILD) -DCMAKE_BUILD_TYPE=Debug -DKORVANE_WERROR=ON -DKORVANE_SANITIZE=ON $(CMAKE_FLAGS) >/dev/null
	@cmake --build $(ASAN_BUILD) -j$(JOBS)
	@scripts/run-tests $(ASAN_BUILD)

# The fuzz targets need clang's libFuzzer. Inputs the fuzzer finds go to the build folder; the
# starting inputs in fuzz/corpus are only read. A crash, leak, sanitizer report or an input that
# runs over 10 s fails the run and leaves the input in $(FUZZ_BUILD)/artifacts.
FUZZ_RUNS := $(addprefix fuzz-run-,$(FUZZ_TARGETS))
.PHONY: $(FUZZ_RUNS)

fuzz-build: deps
	@CC=clang CXX=clang++ cmake -S . -B $(FUZZ_BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DKORVANE_FUZZ=ON -DKORVANE_TESTS=OFF $(CMAKE_FLAGS) >/dev/null
	@cmake --build $(FUZZ_BUILD) --target korvane_fuzz -j$(JOBS)

fuzz: fuzz-build
	@$(MAKE) --no-print-directory -j$(JOBS) $(FUZZ_RUNS) FUZZ_SECONDS=$(FUZZ_SECONDS)

test-fuzz: fuzz-build
	@$(MAKE) --no-print-directory -j$(JOBS) $(FUZZ_RUNS) FUZZ_SECONDS=10

$(FUZZ_RUNS): fuzz-run-%:
	@mkdir -p $(FUZZ_BUILD)/corpus/$* $(FUZZ_BUILD)/artifacts
	@$(FUZZ_BUILD)/fuzz/$*_fuzz -max_total_time=$(FUZZ_SECONDS) -timeout=10 -print_final_stats=1 \
	  -artifact_prefix=$(FUZZ_BUILD)/artifacts/$*- $(FUZZ_BUILD)/corpus/$* fuzz/corpus/$* \
	  >$(FUZZ_BUILD)/fuzz-$*.log 2>&1 || { tail -n 60 $(FUZZ_BUILD)/fuzz-$*.log; \
	  echo "fuzz: $* FAILED (log: $(FUZZ_BUILD)/fuzz-$*.log)"; exit 1; }
	@echo "fuzz: $* ran $$(sed -n 's/^stat::number_of_executed_units: *//p' $(FUZZ_BUILD)/fuzz-$*.log) inputs in $(FUZZ_SECONDS) s"

# Prints one table (operation, N, time, floor, ratio, peak memory) and writes it to
# $(BUILD)/bench/results.json and results.csv. KORVANE_BENCH_SIZES="1000,10000" narrows the run.
# Release (-O3) builds without -Werror: g++ 12 warns falsely (-Wrestrict) on "x" + std::string there.
bench: deps
	@cmake -S . -B $(BENCH_BUILD) -DCMAKE_BUILD_TYPE=Release -DKORVANE_BENCH=ON -DKORVANE_TESTS=OFF -DKORVANE_WERROR=OFF $(CMAKE_FLAGS) >/dev/null
	@cmake --build $(BENCH_BUILD) -j$(JOBS) --target korvane_bench korvane_generate
	@mkdir -p $(BUILD)/bench
	@KORVANE_BENCH_OUT=$(abspath $(BUILD))/bench $(BENCH_BUILD)/bench/korvane_bench

install: build
	@cmake --install $(BUILD)

format:
	@find src tools tests bench fuzz -name '*.cpp' -o -name '*.hpp' | xargs clang-format -i

clean:
	@rm -rf $(BUILD) $(ASAN_BUILD) $(FUZZ_BUILD)
