# The two set-up commands: `make run` and `make test`. `make bench` times the kernels.
BUILD      ?= build
ASAN_BUILD ?= build-asan
FUZZ_BUILD ?= build-fuzz
BENCH_BUILD ?= build-bench
CMAKE_GEN  := -G Ninja
JOBS       ?= $(shell nproc)

.PHONY: all deps build run install test test-core test-asan test-fuzz bench clean

all: build

deps:
	@bash scripts/install-deps

build: deps
	@cmake -S . -B $(BUILD) $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
	@cmake --build $(BUILD) -j $(JOBS)

run: build
	@$(BUILD)/src/app/sv4200

# The program, its desktop entry and icon under PREFIX (/usr/local unless given).
install: build
	@cmake --install $(BUILD) $(if $(PREFIX),--prefix $(PREFIX))

test: build
	@cd $(BUILD) && QT_QPA_PLATFORM=offscreen ctest --output-on-failure -j $(JOBS)
	@$(MAKE) --no-print-directory test-asan
	@$(MAKE) --no-print-directory test-fuzz

# The core libraries and their tests again, under AddressSanitizer and UBSan.
test-asan: deps
	@cmake -S . -B $(ASAN_BUILD) $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=Debug -DSV_SANITIZE=ON -DSV_BUILD_GUI=OFF >/dev/null
	@cmake --build $(ASAN_BUILD) -j $(JOBS)
	@cd $(ASAN_BUILD) && ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 ctest --output-on-failure -j $(JOBS)

# Each file reader's fuzz target gets a short, bounded run.
test-fuzz: deps
	@CC=clang-14 CXX=clang++-14 cmake -S . -B $(FUZZ_BUILD) $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DSV_FUZZ=ON >/dev/null
	@cmake --build $(FUZZ_BUILD) -j $(JOBS)
	@bash tests/fuzz/run-all $(FUZZ_BUILD)

bench:
	@SV_WITH_OPENCV=1 bash scripts/install-deps
	@cmake -S . -B $(BENCH_BUILD) $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=Release -DSV_BUILD_BENCH=ON -DSV_BUILD_GUI=OFF -DSV_BUILD_TESTS=OFF >/dev/null
	@cmake --build $(BENCH_BUILD) -j $(JOBS)
	@$(BENCH_BUILD)/bench/sv_bench

clean:
	rm -rf $(BUILD) $(ASAN_BUILD) $(FUZZ_BUILD) $(BENCH_BUILD)
