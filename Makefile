# Short forms of the CMake presets. `make demo` and `make test` are the whole set-up on a fresh
# Debian machine: they install what is missing first.

PACKAGES := cmake ninja-build g++ libgtest-dev libgmock-dev libbenchmark-dev libyaml-cpp-dev \
            nlohmann-json3-dev libcli11-dev libpcap-dev pkgconf
FUZZ_PACKAGES := clang libclang-rt-dev
FUZZ_SECONDS ?= 60
SOAK_SEQUENCES ?= 20000
SOAK_STEPS ?= 150
SOAK_SWEEP_RANDOM ?= 40
SOAK_LOOKUP_PACKETS ?= 4000000
SUDO := $(if $(filter 0,$(shell id -u)),,sudo)
PREFIX ?= $(CURDIR)/install

.PHONY: deps install-missing build demo test asan tsan bench fuzz soak sweep mutants chip-table install \
        clean

deps:
	@$(MAKE) --no-print-directory install-missing WANTED="$(PACKAGES)"

install-missing:
	@missing=""; \
	for p in $(WANTED); do \
	  dpkg-query -W -f='$${Status}' $$p 2>/dev/null | grep -q "install ok installed" || missing="$$missing $$p"; \
	done; \
	if [ -n "$$missing" ]; then \
	  echo "Installing:$$missing"; \
	  $(SUDO) apt-get install -y --no-install-recommends $$missing || \
	  { $(SUDO) apt-get update && $(SUDO) apt-get install -y --no-install-recommends $$missing; }; \
	fi

build: deps
	cmake --preset default
	cmake --build --preset default

# The demo builds filtersim and what it links, not the tests, benchmarks and cint replays.
demo: deps
	cmake --preset default
	cmake --build --preset default --target filtersim
	./build/default/tools/filtersim/filtersim

test: build
	ctest --preset default

asan: deps
	cmake --preset asan
	cmake --build --preset asan
	ctest --preset asan

# The threaded replay, and the lookups it runs on several threads, under ThreadSanitizer.
tsan: deps
	cmake --preset tsan
	cmake --build --preset tsan
	ctest --preset tsan

bench: deps
	cmake --preset release
	cmake --build --preset release
	./build/release/bench/filters_bench $(BENCH_ARGS)

# The scenario loader, then the capture replay, under libFuzzer for FUZZ_SECONDS between them; the
# corpora grow in build/fuzz/corpus and build/fuzz/captures (seeded with a one-frame capture).
FUZZ_HALF = $$(( ($(FUZZ_SECONDS) + 1) / 2 ))
CAPTURE_SEED := \324\303\262\241\002\000\004\000\000\000\000\000\000\000\000\000\377\377\000\000\001\000\000\000\001\000\000\000\000\000\000\000\052\000\000\000\364\001\000\000\002\000\000\000\000\002\002\000\000\000\000\001\010\000\105\000\000\034\000\000\000\000\100\021\000\000\012\000\000\001\012\000\000\002\000\011\000\011\000\010\000\000
fuzz: deps
	@$(MAKE) --no-print-directory install-missing WANTED="$(FUZZ_PACKAGES)"
	cmake --preset fuzz
	cmake --build --preset fuzz --target scenario_loader_fuzzer capture_fuzzer
	mkdir -p build/fuzz/corpus build/fuzz/captures
	@test -n "$$(ls -A build/fuzz/captures)" || printf '$(CAPTURE_SEED)' > build/fuzz/captures/seed.pcap
	@echo "Fuzzing the scenario loader for $(FUZZ_HALF) s (log in build/fuzz/fuzz.log)"
	@./build/fuzz/tests/fuzz/scenario_loader_fuzzer -max_total_time=$(FUZZ_HALF) \
	  -dict=tests/fuzz/scenario.dict -artifact_prefix=build/fuzz/ -print_final_stats=1 \
	  build/fuzz/corpus examples tests/filtersim/scenarios > build/fuzz/fuzz.log 2>&1 || \
	  { tail -60 build/fuzz/fuzz.log; exit 1; }
	@grep -E "^Done|^stat::" build/fuzz/fuzz.log
	@echo "Fuzzing the capture replay for $(FUZZ_HALF) s (log in build/fuzz/capture_fuzz.log)"
	@./build/fuzz/tests/fuzz/capture_fuzzer -max_total_time=$(FUZZ_HALF) \
	  -artifact_prefix=build/fuzz/capture- -print_final_stats=1 \
	  build/fuzz/captures > build/fuzz/capture_fuzz.log 2>&1 || \
	  { tail -60 build/fuzz/capture_fuzz.log; exit 1; }
	@grep -E "^Done|^stat::" build/fuzz/capture_fuzz.log

# Many more random operation sequences than the test suite runs: SOAK_SEQUENCES on the default
# device and a quarter as many on each named chip (both tests match RandomSequences.Keep*); then
# the sweep with SOAK_SWEEP_RANDOM random sequences besides the representative operations.
soak: build
	FILTERS_RANDOM_SEQUENCES=$(SOAK_SEQUENCES) FILTERS_RANDOM_STEPS=$(SOAK_STEPS) \
	  ./build/default/tests/robustness/robustness_tests --gtest_filter='RandomSequences.Keep*'
	FILTERS_SWEEP_RANDOM=$(SOAK_SWEEP_RANDOM) \
	  ./build/default/tests/robustness/robustness_tests --gtest_filter='FaultSweep.*'
	FILTERS_LOOKUP_PACKETS=$(SOAK_LOOKUP_PACKETS) \
	  ./build/default/tests/bcmsim/bcmsim_tests --gtest_filter='CompiledLookup.*'

# Every SDK call of the representative operations failed once, then recovered (the suite runs
# it too); prints the figures.
sweep: build
	./build/default/tests/robustness/robustness_tests --gtest_filter='FaultSweep.*'

# Each mutant of tools/mutants/mutants.txt applied to src/ alone, rebuilt and tested; the report
# goes to build/mutants/report.txt. MUTANTS=id1,id2 runs those mutants only.
mutants: deps
	tools/mutants/run.sh

# The table of docs/bcmsim.md of which named chips run each example, written again.
chip-table: build
	cmake -DFILTERSIM=build/default/tools/filtersim/filtersim -DSOURCE_DIR=$(CURDIR) -DMODE=write \
	  -P tools/chip_table/chip_table.cmake

install: build
	cmake --install build/default --prefix $(PREFIX)

clean:
	rm -rf build install
