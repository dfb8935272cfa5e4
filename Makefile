# Brondel: `make run` and `make test` set everything up on a fresh Debian or Ubuntu machine.

BUILD ?= build
JOBS  ?= $(shell nproc 2>/dev/null || echo 2)
CMAKE_FLAGS ?= -DCMAKE_BUILD_TYPE=Release

.PHONY: all deps configure build test test-asan run lint bench bench-build bench-e2e clean

all: build

deps:
	@bash tools/install-deps.sh

configure: deps
	@cmake -S . -B $(BUILD) $(CMAKE_FLAGS) >/dev/null

build: configure
	@cmake --build $(BUILD) -j $(JOBS)

# Tests that need a display carry the label "gl" and run under a virtual X server.
test: build
	@cd $(BUILD) && ctest --output-on-failure -j $(JOBS) -LE gl
	@cd $(BUILD) && if ctest -N -L gl | grep -q "Test *#"; then \
	    xvfb-run -a -s "-screen 0 1280x1024x24" ctest --output-on-failure -L gl; fi

# The whole suite again under AddressSanitizer, LeakSanitizer and UndefinedBehaviorSanitizer.
ASAN_BUILD ?= $(BUILD)-asan
SANITIZER_ENV = ASAN_OPTIONS=detect_leaks=1:abort_on_error=0:strict_string_checks=1 \
    LSAN_OPTIONS=suppressions=$(CURDIR)/tools/lsan.supp:print_suppressions=0 \
    UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
# libxkbcommon-x11, which the X11 platform plugin calls as the application starts, hands strndup a
# bounded buffer without a terminating zero; strict string checks take that for an overflow. The leak
# checker's exit-time scan now and then crashes while Mesa's software-renderer threads wind down, so
# the display tests run with address and undefined-behaviour checks only; every other test keeps it.
GL_SANITIZER_ENV = ASAN_OPTIONS=detect_leaks=0:abort_on_error=0:strict_string_checks=0
test-asan: deps
	@cmake -S . -B $(ASAN_BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DBRONDEL_SANITIZE=ON >/dev/null
	@cmake --build $(ASAN_BUILD) -j $(JOBS)
	@cd $(ASAN_BUILD) && $(SANITIZER_ENV) ctest --output-on-failure -j $(JOBS) -LE gl
	@cd $(ASAN_BUILD) && if ctest -N -L gl | grep -q "Test *#"; then \
	    $(SANITIZER_ENV) $(GL_SANITIZER_ENV) xvfb-run -a -s "-screen 0 1280x1024x24" ctest --output-on-failure -L gl; fi

run: build
	@bash tools/run.sh $(BUILD)

lint: build
	@bash tools/lint.sh $(BUILD)

# The benchmarks' programs are all built before any of them is timed: this tree's, then BrondelCLI as
# it was at $(BASELINE) in $(BUILD)-baseline (once; skipped, with a note, where there is no git history).
BASELINE ?= b7a52a8
bench-build: deps
	@cmake -S . -B $(BUILD)-bench -DCMAKE_BUILD_TYPE=Release -DBRONDEL_BUILD_BENCH=ON -DBRONDEL_BUILD_TESTS=ON >/dev/null
	@cmake --build $(BUILD)-bench -j $(JOBS) --target brondel_bench brondel_preview_bench brondel_e2e_bench
	@bash tools/build-baseline.sh $(BASELINE) $(BUILD)-baseline $(JOBS) >/dev/null

# Whole batch runs of this BrondelCLI against the baseline's, when one was built. The stamp names the
# commit actually built, which is what the table should say.
BENCH_E2E = cli=$(BUILD)-baseline/build/bin/BrondelCLI; stamp=$(BUILD)-baseline/commit; \
    if [ -x "$$cli" ] && [ -f "$$stamp" ]; then set -- --baseline "$$cli" --baseline-label "$$(cut -c1-7 "$$stamp")"; fi; \
    $(BUILD)-bench/bin/brondel_e2e_bench "$$@"

bench: bench-build
	@$(BUILD)-bench/bin/brondel_bench $(BENCH_ARGS)
	@xvfb-run -a -s "-screen 0 1280x1024x24" $(BUILD)-bench/bin/brondel_preview_bench $(BENCH_ARGS)
	@$(BENCH_E2E)

bench-e2e: bench-build
	@$(BENCH_E2E)

clean:
	@rm -rf $(BUILD) $(BUILD)-bench $(BUILD)-asan $(BUILD)-baseline
