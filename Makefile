# Entry points: `make demo` runs the main job on the bundled example, `make test` runs every test.
BUILD_DIR ?= build
BUILD_TYPE ?= RelWithDebInfo
JOBS ?= $(shell nproc)
TCM = $(BUILD_DIR)/apps/tcm/tcm
EXAMPLE = examples/retail

.PHONY: deps configure build test demo clean bench

deps:
	@scripts/install-deps.sh

configure: deps
	@if [ ! -f $(BUILD_DIR)/build.ninja ]; then \
	  cmake -S . -B $(BUILD_DIR) -G Ninja -DCMAKE_BUILD_TYPE=$(BUILD_TYPE) $(CMAKE_FLAGS); fi

build: configure
	@cmake --build $(BUILD_DIR) -j $(JOBS)

test: build
	@cd $(BUILD_DIR) && ctest --output-on-failure -j $(JOBS)

demo: build
	@mkdir -p $(BUILD_DIR)/demo
	@$(TCM) run $(EXAMPLE)/retail.tcm --data $(EXAMPLE)/sales.csv \
	  --out $(BUILD_DIR)/demo/report.html --json $(BUILD_DIR)/demo/report.json; \
	  status=$$?; echo "Report: $(abspath $(BUILD_DIR))/demo/report.html"; exit $$status

bench: build
	@for b in $(BUILD_DIR)/bench/bench_*; do [ -x "$$b" ] && "$$b"; done

clean:
	@rm -rf $(BUILD_DIR)
