# Thin wrapper around CMake for the commands in the README. Every target first makes sure the
# Debian packages the build needs are installed.
BUILD_DIR ?= build
ASAN_DIR  ?= build-asan
TSAN_DIR  ?= build-tsan
PREFIX    ?= /usr/local
JOBS      ?= $(shell nproc)
ZELFX      = $(BUILD_DIR)/tools/zelfx/zelfx

.PHONY: all deps build demo test test-asan test-tsan bench install clean studio-build studio screenshot

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

test-asan: deps
	@cmake -S . -B $(ASAN_DIR) -DCMAKE_BUILD_TYPE=Debug -DZEL_SANITIZE=ON >/dev/null
	@cmake --build $(ASAN_DIR) -j $(JOBS)
	@cd $(ASAN_DIR) && ctest --output-on-failure -j $(JOBS)

# The suites whose effects and jobs compute on more than one thread: the photo converter, cancels
# from another thread (every registered effect), ImageMagick started from several threads,
# libRedEye's per-thread trace, zelfx apply --threaded.
TSAN_TESTS = tst_converter tst_effects tst_simple tst_magick tst_artistic tst_redeye tst_zelfx
empty :=
space := $(empty) $(empty)

test-tsan: deps
	@cmake -S . -B $(TSAN_DIR) -DCMAKE_BUILD_TYPE=Debug -DZEL_SANITIZE_THREAD=ON >/dev/null
	@cmake --build $(TSAN_DIR) -j $(JOBS) --target $(TSAN_TESTS)
	@cd $(TSAN_DIR) && ctest --output-on-failure -j $(JOBS) -R '^($(subst $(space),|,$(TSAN_TESTS)))$$'

bench: build
	@ZEL_BENCH_JSON=$(BUILD_DIR)/bench.json ZEL_TOOLKIT_BENCH=$(BUILD_DIR)/bench/zel_toolkit_bench bash bench/run.sh $(ZELFX)

install: build
	@cmake --install $(BUILD_DIR) --prefix $(PREFIX)

clean:
	@rm -rf $(BUILD_DIR) $(ASAN_DIR) $(TSAN_DIR)
