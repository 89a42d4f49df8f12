# The two commands a new machine needs: `make run` and `make test`.
BUILD_DIR ?= build
BUILD_TYPE ?= RelWithDebInfo
JOBS ?= $(shell nproc)

FUZZ_SECONDS ?= 60

.PHONY: all deps configure build run test test-desktops bench fuzz clean

all: build

deps:
	@scripts/install-deps.sh

configure: deps
	@cmake -S . -B $(BUILD_DIR) -G Ninja -DCMAKE_BUILD_TYPE=$(BUILD_TYPE) >/dev/null

build: configure
	@cmake --build $(BUILD_DIR) -j $(JOBS)

run: build
	$(BUILD_DIR)/app/kvillo

# KWin and GNOME Shell are large and slow to start, so their end-to-end
# tests have a target of their own.
test: build
	@cd $(BUILD_DIR) && ctest --output-on-failure -j $(JOBS) -LE "kwin|gnome"

test-desktops: build
	@scripts/install-deps.sh desktops
	@cd $(BUILD_DIR) && ctest --output-on-failure -L "kwin|gnome"

bench: build
	@scripts/install-deps.sh bench
	@cmake --build $(BUILD_DIR) --target kvillo_bench -j $(JOBS)
	$(BUILD_DIR)/bench/kvillo_bench
	@# Every benchmark runs; one over its target fails the whole at the end.
	@status=0; \
	for bench in bench/app/headless_memory.sh bench/app/tray_bench.sh \
	             bench/app/wayland_bench.sh bench/mcp/wrk_bench.sh; do \
	  $$bench $(BUILD_DIR)/app/kvillo || { echo "$$bench: over its target"; status=1; }; \
	done; \
	exit $$status

# Each fuzzer runs for FUZZ_SECONDS from the seed corpus; a crash fails.
fuzz:
	@scripts/install-deps.sh fuzz
	@cmake -S . -B build-fuzz -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
	  -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ -DKVILLO_FUZZ=ON >/dev/null
	@cmake --build build-fuzz -j $(JOBS)
	@for target in http_parser handle_body; do \
	  mkdir -p build-fuzz/corpus/$$target && \
	  build-fuzz/fuzz/$${target}_fuzzer -max_total_time=$(FUZZ_SECONDS) -print_final_stats=1 \
	    build-fuzz/corpus/$$target fuzz/corpus/$$target || exit 1; \
	done

clean:
	rm -rf $(BUILD_DIR) build-fuzz
