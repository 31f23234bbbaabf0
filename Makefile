# Entry points: `make demo` runs the main job on the bundled example, `make test` runs every test.
BUILD_DIR ?= build
BUILD_TYPE ?= RelWithDebInfo
JOBS ?= $(shell nproc)
TCM = $(BUILD_DIR)/apps/tcm/tcm
EXAMPLE = examples/retail

FUZZ_DIR ?= build-fuzz
SANITIZE_DIR ?= build-sanitize
# The fuzz targets of tests/fuzz (listed in tests/fuzz/CMakeLists.txt too) and the seconds each runs.
FUZZ_TARGETS ?= syntax csv dictionary model_system
FUZZ_SECONDS ?= 60
# What the sanitizer build builds (empty: everything) and the arguments of its ctest run; the
# tests of executables not built are not registered, so building part runs that part.
SANITIZE_TARGETS ?=
SANITIZE_TESTS ?=

.PHONY: deps configure build test demo clean bench fuzz-build fuzz check-sanitize

deps:
	@scripts/install-deps.sh

configure: deps
	@if [ ! -f $(BUILD_DIR)/build.ninja ]; then \
	  cmake -S . -B $(BUILD_DIR) -G Ninja -DCMAKE_BUILD_TYPE=$(BUILD_TYPE) $(CMAKE_FLAGS); fi

build: configure
	@cmake --build $(BUILD_DIR) -j $(JOBS)

test: build
	@cd $(BUILD_DIR) && ctest --output-on-failure -j $(JOBS)

# The model system built on two years, then applied to the same days and three more months.
demo: build
	@mkdir -p $(BUILD_DIR)/demo
	@$(TCM) run $(EXAMPLE)/retail.tcm --data $(EXAMPLE)/sales.csv \
	  --out $(BUILD_DIR)/demo/report.html --json $(BUILD_DIR)/demo/report.json && \
	  echo "Report: $(abspath $(BUILD_DIR))/demo/report.html" && \
	  $(TCM) run $(EXAMPLE)/apply.tcm --data $(EXAMPLE)/sales_2025q1.csv \
	  --out $(BUILD_DIR)/demo/apply.html && \
	  echo "Report of TCM APPLY: $(abspath $(BUILD_DIR))/demo/apply.html"

bench: build
	@for b in $(BUILD_DIR)/bench/bench_*; do [ -x "$$b" ] && "$$b"; done

# libFuzzer targets, built with clang and the sanitizers in their own folder. Each runs
# FUZZ_SECONDS on one core from its seeds and regressions; what it finds goes to
# $(FUZZ_DIR)/crashes/<target>/ and the inputs it learned to $(FUZZ_DIR)/corpus/<target>/.
fuzz-build:
	@TCM_FUZZ=1 scripts/install-deps.sh
	@if [ ! -f $(FUZZ_DIR)/build.ninja ]; then \
	  CC=clang CXX=clang++ cmake -S . -B $(FUZZ_DIR) -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
	    -DTCM_FUZZ=ON -DTCM_BUILD_TESTS=OFF -DTCM_BUILD_BENCH=OFF; fi
	@cmake --build $(FUZZ_DIR) -j $(JOBS) --target $(addprefix fuzz_,$(FUZZ_TARGETS))

fuzz: fuzz-build
	@for t in $(FUZZ_TARGETS); do \
	  mkdir -p $(FUZZ_DIR)/corpus/$$t $(FUZZ_DIR)/crashes/$$t; \
	  seeds=tests/fuzz/corpus/$$t; \
	  [ -d tests/fuzz/regressions/$$t ] && seeds="$$seeds tests/fuzz/regressions/$$t"; \
	  echo "== fuzz_$$t: $(FUZZ_SECONDS) s"; \
	  $(FUZZ_DIR)/tests/fuzz/fuzz_$$t -max_total_time=$(FUZZ_SECONDS) -timeout=25 \
	    -artifact_prefix=$(FUZZ_DIR)/crashes/$$t/ $(FUZZ_DIR)/corpus/$$t $$seeds || exit 1; \
	done

# The whole suite (or the part SANITIZE_TARGETS and SANITIZE_TESTS select) built with
# AddressSanitizer and UndefinedBehaviorSanitizer in its own folder; leak checking is on. With
# SANITIZE_TARGETS the tests of programs left unbuilt (and the browser test, which needs them)
# are left out rather than counted as failures.
check-sanitize: deps
	@if [ ! -f $(SANITIZE_DIR)/build.ninja ]; then \
	  cmake -S . -B $(SANITIZE_DIR) -G Ninja -DCMAKE_BUILD_TYPE=$(BUILD_TYPE) -DTCM_SANITIZE=ON \
	    -DTCM_BUILD_BENCH=OFF $(CMAKE_FLAGS); fi
	@cmake --build $(SANITIZE_DIR) -j $(JOBS) $(if $(SANITIZE_TARGETS),--target $(SANITIZE_TARGETS))
	@cd $(SANITIZE_DIR) && ASAN_OPTIONS=detect_leaks=1 \
	  UBSAN_OPTIONS=print_stacktrace=1 ctest --output-on-failure -j $(JOBS) \
	  $(if $(SANITIZE_TARGETS),-E '_NOT_BUILT$$|^report_browser$$') $(SANITIZE_TESTS)

clean:
	@rm -rf $(BUILD_DIR) $(FUZZ_DIR) $(SANITIZE_DIR)
