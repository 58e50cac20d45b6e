# Thin wrapper around CMake for the commands in the README. Every target first makes sure the
# Debian packages the build needs are installed.
BUILD_DIR ?= build
ASAN_DIR  ?= build-asan
TSAN_DIR  ?= build-tsan
FUZZ_DIR  ?= build-fuzz
PREFIX    ?= /usr/local
JOBS      ?= $(shell nproc)
ZELFX      = $(BUILD_DIR)/tools/zelfx/zelfx

.PHONY: all deps build demo test test-asan test-tsan bench install clean studio-build studio screenshot \
        stress stress-tsan large fuzz-build fuzz fuzz-smoke

all: build

deps:
	@bash scripts/install-deps.sh

build: deps
	@cmake -S . -B $(BUILD_DIR) -DCMAKE_BUILD_TYPE=Release >/dev/null
	@cmake --build $(BUILD_DIR) -j $(JOBS)

demo: build
	@$(ZELFX) gallery samples/astronaut.png $(BUILD_DIR)/gallery >/dev/null
	@echo "$(abspath $(BUILD_DIR))/gallery/index.html"

STUDIO = $(BUILD_DIR)/tools/zelfx-studio/zelfx-studio

studio-build: deps
	@cmake -S . -B $(BUILD_DIR) -DCMAKE_BUILD_TYPE=Release >/dev/null
	@cmake --build $(BUILD_DIR) -j $(JOBS) --target zelfx-studio

# The desktop editor, opened on the sample photo.
studio: studio-build
	@$(STUDIO) samples/astronaut.png

# docs/studio.png for the README: the studio on a virtual X display, Swirl selected, grabbed by
# itself once the first preview is shown.
screenshot: studio-build
	@mkdir -p docs
	@xvfb-run -a -s "-screen 0 1280x800x24" $(STUDIO) samples/astronaut.png --effect Swirl --screenshot docs/studio.png
	@echo "$(abspath docs/studio.png)"

test: build
	@cd $(BUILD_DIR) && ctest --output-on-failure -j $(JOBS)
	@$(MAKE) --no-print-directory fuzz-smoke

test-asan: deps
	@cmake -S . -B $(ASAN_DIR) -DCMAKE_BUILD_TYPE=Debug -DZEL_SANITIZE=ON >/dev/null
	@cmake --build $(ASAN_DIR) -j $(JOBS)
	@cd $(ASAN_DIR) && ctest --output-on-failure -j $(JOBS)

# The suites whose effects and jobs compute on more than one thread: the photo converter, cancels
# from another thread (every registered effect, and a short round of random ones), every effect on
# eight threads at once, ImageMagick started from several threads, libRedEye's per-thread trace,
# zelfx apply --threaded.
TSAN_TESTS = tst_converter tst_effects tst_stress tst_threads tst_simple tst_magick tst_artistic tst_redeye tst_zelfx
empty :=
space := $(empty) $(empty)

test-tsan: deps
	@cmake -S . -B $(TSAN_DIR) -DCMAKE_BUILD_TYPE=Debug -DZEL_SANITIZE_THREAD=ON >/dev/null
	@cmake --build $(TSAN_DIR) -j $(JOBS) --target $(TSAN_TESTS)
	@cd $(TSAN_DIR) && ctest --output-on-failure -j $(JOBS) -R '^($(subst $(space),|,$(TSAN_TESTS)))$$'

# Every effect cancelled from another thread at random moments, on photos on which a run takes
# about 50 to 500 ms. SEED=N replays a round; STRESS_RUNS sets its length.
STRESS_RUNS ?= 1000
STRESS_ARGUMENTS = $(STRESS_RUNS) --large $(if $(SEED),--seed $(SEED))

stress: deps
	@cmake -S . -B $(BUILD_DIR) -DCMAKE_BUILD_TYPE=Release >/dev/null
	@cmake --build $(BUILD_DIR) -j $(JOBS) --target tst_stress
	@QT_QPA_PLATFORM=offscreen nice $(BUILD_DIR)/tests/tst_stress $(STRESS_ARGUMENTS)

# The same under ThreadSanitizer, shorter: each run there is ten to twenty times slower.
stress-tsan: STRESS_RUNS = 200
stress-tsan: deps
	@cmake -S . -B $(TSAN_DIR) -DCMAKE_BUILD_TYPE=Debug -DZEL_SANITIZE_THREAD=ON >/dev/null
	@cmake --build $(TSAN_DIR) -j $(JOBS) --target tst_stress
	@QT_QPA_PLATFORM=offscreen QT_NO_GLIB=1 TSAN_OPTIONS="halt_on_error=1 suppressions=$(abspath tests/tsan.supp)" \
		nice $(TSAN_DIR)/tests/tst_stress $(STRESS_ARGUMENTS)

# Time and peak memory of every effect on very large photos, as a Markdown table in
# $(BUILD_DIR)/large.md. LARGE_SIZES picks sizes (24mp 50mp 40000x10 10x40000), EFFECTS effects.
LARGE_SIZES ?= 24mp 50mp 40000x10 10x40000

large: deps
	@cmake -S . -B $(BUILD_DIR) -DCMAKE_BUILD_TYPE=Release >/dev/null
	@cmake --build $(BUILD_DIR) -j $(JOBS) --target zelfx
	@OUT=$(BUILD_DIR)/large.md WORK=$(BUILD_DIR)/large nice bash scripts/large.sh $(ZELFX) $(LARGE_SIZES)

# libFuzzer targets (fuzz/): clang, every library instrumented with ASan and UBSan, leaks reported.
# CXX chooses the compiler when the build directory is first configured.
FUZZ_TARGETS = fuzz_parameter_xml fuzz_container_xml fuzz_zelfx_settings fuzz_effect_image
FUZZ_RUNS ?= 100000
FUZZ_SMOKE_SECONDS ?= 5

fuzz-build: deps
	@CXX=clang++ cmake -S . -B $(FUZZ_DIR) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DZEL_FUZZ=ON \
	  -DZEL_BUILD_TESTS=OFF >/dev/null
	@cmake --build $(FUZZ_DIR) -j $(JOBS) --target $(FUZZ_TARGETS)

# FUZZ_RUNS inputs per target.
fuzz: fuzz-build
	@bash fuzz/run.sh $(FUZZ_DIR) -runs=$(FUZZ_RUNS)

# A few seconds per target, from the seed corpus; part of `make test`.
fuzz-smoke: fuzz-build
	@ZEL_FUZZ_FRESH=1 bash fuzz/run.sh $(FUZZ_DIR) -max_total_time=$(FUZZ_SMOKE_SECONDS)

bench: build
	@ZEL_BENCH_JSON=$(BUILD_DIR)/bench.json ZEL_TOOLKIT_BENCH=$(BUILD_DIR)/bench/zel_toolkit_bench bash bench/run.sh $(ZELFX)

install: build
	@cmake --install $(BUILD_DIR) --prefix $(PREFIX)

clean:
	@rm -rf $(BUILD_DIR) $(ASAN_DIR) $(TSAN_DIR) $(FUZZ_DIR)
